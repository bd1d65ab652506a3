#include "platform/common/services/ProcessControl.h"

#include <array>
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Does nothing until it is killed.
class ProcessControlTest : public testing::Test {
protected:
    ProcessControlTest()
        : m_child(::fork())
    {
        if (m_child == 0)
            for (;;)
                ::pause();
    }
    ~ProcessControlTest() override
    {
        ::kill(m_child, SIGKILL);
        ::waitpid(m_child, nullptr, 0);
    }

    unsigned long child() const { return static_cast<unsigned long>(m_child); }
    // Returns when that has happened to it.
    void send(int signal, int event) const
    {
        ::kill(m_child, signal);
        siginfo_t info = {};
        ::waitid(P_PID, static_cast<id_t>(m_child), &info, event | WNOWAIT);
    }

private:
    pid_t m_child;
};

TEST_F(ProcessControlTest, KnowsWhoRuns)
{
    EXPECT_TRUE(Pt::isProcessRunning(child()));
    EXPECT_FALSE(Pt::isProcessRunning(0));
    send(SIGKILL, WEXITED);
    EXPECT_FALSE(Pt::isProcessRunning(child())) << "nobody has asked for its end yet";
}

TEST_F(ProcessControlTest, KnowsWhoWasStopped)
{
    EXPECT_FALSE(Pt::isProcessStopped(child()));
    send(SIGSTOP, WSTOPPED);
    EXPECT_TRUE(Pt::isProcessStopped(child()));
    EXPECT_TRUE(Pt::isProcessRunning(child()));
    EXPECT_FALSE(Pt::isProcessStopped(0));
}

TEST_F(ProcessControlTest, TellsAProcessFromALaterOneOfItsNumber)
{
    const std::uint64_t start = Pt::processStartTime(child());
    EXPECT_NE(start, 0U);
    EXPECT_TRUE(Pt::isProcessRunning(Pt::ProcessIdentity{child(), start}));
    EXPECT_FALSE(Pt::isProcessRunning(Pt::ProcessIdentity{child(), start + 1}));
    EXPECT_FALSE(Pt::isProcessRunning(Pt::ProcessIdentity{}));
    send(SIGKILL, WEXITED);
    EXPECT_FALSE(Pt::isProcessRunning(Pt::ProcessIdentity{child(), start}));
    EXPECT_EQ(Pt::processStartTime(0), 0U);
}

TEST_F(ProcessControlTest, ReadsTheStartTimeBehindAnyName)
{
    const std::uint64_t before = Pt::processStartTime(static_cast<unsigned long>(::getpid()));
    std::array<char, 16> name{};
    ::prctl(PR_GET_NAME, name.data());
    ::prctl(PR_SET_NAME, "a) S 1 2 (b");
    EXPECT_EQ(Pt::processStartTime(static_cast<unsigned long>(::getpid())), before);
    ::prctl(PR_SET_NAME, name.data());
}

TEST_F(ProcessControlTest, FindsTheProcessesOfAProgram)
{
    const auto own = static_cast<unsigned long>(::getpid());
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    EXPECT_THAT(Pt::processesOfProgram(program),
        testing::AllOf(testing::Contains(own), testing::Contains(child())));
    EXPECT_THAT(Pt::processesOfProgram("/proc/self/exe"), testing::Contains(own))
        << "by whatever path";
    EXPECT_THAT(Pt::processesOfProgram("/nowhere"), testing::IsEmpty());
    EXPECT_THAT(Pt::processesOfProgram("/"), testing::IsEmpty());
}

} // namespace
