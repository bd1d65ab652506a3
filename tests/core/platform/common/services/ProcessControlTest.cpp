#include "platform/common/services/ProcessControl.h"

#include <csignal>

#include <gtest/gtest.h>
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

} // namespace
