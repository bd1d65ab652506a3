#include "platform/common/services/ProgramStart.h"

#include "support/Environment.h"
#include "support/Sanitizers.h"
#include "support/TestFolder.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Words = std::vector<std::string>;

std::atomic<int> gChildSignals{0};

void countChildSignal(int)
{
    ++gChildSignals;
}

// How SIGCHLD is handled in this process, while it lives.
class ChildSignalHandler {
public:
    explicit ChildSignalHandler(void (*handler)(int))
    {
        gChildSignals = 0;
        struct sigaction action = {};
        action.sa_handler = handler;
        ::sigaction(SIGCHLD, &action, &m_before);
    }
    ~ChildSignalHandler() { ::sigaction(SIGCHLD, &m_before, nullptr); }
    ChildSignalHandler(const ChildSignalHandler&) = delete;
    ChildSignalHandler& operator=(const ChildSignalHandler&) = delete;

private:
    struct sigaction m_before = {};
};

class ProgramStartTest : public testing::Test {
protected:
    ~ProgramStartTest() override
    {
        for (const Pt::ProcessIdentity& each : started)
            if (Pt::isProcessRunning(each))
                ::kill(static_cast<pid_t>(each.id), SIGKILL);
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG | __WALL), -1) << "a child was left";
        EXPECT_EQ(test::openDescriptors(), descriptorsBefore);
    }

    // A shell that runs this script; its words are $1, $2 ...
    Pt::ProcessIdentity shell(const std::string& script, const Words& words = {})
    {
        Words arguments{"-c", script, "shell"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        std::error_code error;
        const auto begun = Pt::startProgram("/bin/sh", arguments, error);
        EXPECT_TRUE(begun) << error.message();
        EXPECT_FALSE(error);
        started.push_back(begun.value_or(Pt::ProcessIdentity()));
        return started.back();
    }
    // What a script has written to the file that is its $1, when it has written all of it.
    std::string written(const std::string& script)
    {
        process = shell("{ " + script + "; } > \"$1.part\"; mv \"$1.part\" \"$1\"", {file});
        EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(file); }));
        return test::read(file);
    }

    static bool waitUntil(const std::function<bool()>& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition() && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return condition();
    }

    std::ptrdiff_t descriptorsBefore = test::openDescriptors();
    test::TestFolder folder;
    test::Environment environment;
    std::string file = folder.path("written");
    Pt::ProcessIdentity process;
    std::vector<Pt::ProcessIdentity> started;
};

TEST_F(ProgramStartTest, TellsTheIdOfTheProgramItself)
{
    const std::string id = written("echo $$"); // it is started here
    EXPECT_EQ(id, std::to_string(process.id) + "\n");
}

TEST_F(ProgramStartTest, PassesEachArgumentAsItIs)
{
    process = shell("printf '%s|' \"$2\" \"$3\" \"$4\" > \"$1.part\"; mv \"$1.part\" \"$1\"",
        {file, "two words", "$(true)", ""});
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(file); }));
    EXPECT_EQ(test::read(file), "two words|$(true)||");
}

TEST_F(ProgramStartTest, GivesItASessionOfItsOwn)
{
    std::istringstream fields(written("cat /proc/$$/stat"));
    std::string id;
    std::string name;
    std::string state;
    std::string parent;
    std::string group;
    std::string session;
    fields >> id >> name >> state >> parent >> group >> session;
    EXPECT_EQ(group, id);
    EXPECT_EQ(session, id);
    EXPECT_NE(parent, std::to_string(::getpid()));
}

TEST_F(ProgramStartTest, GivesItNoDescriptors)
{
    const int inherited = ::open("/dev/null", O_RDONLY); // not close-on-exec
    EXPECT_EQ(written("find /proc/$$/fd -type l -printf '%f %l\\n'"),
        "0 /dev/null\n1 " + file + ".part\n2 /dev/null\n10 /dev/null\n")
        << "1 is the script's own redirection, which keeps what was there as 10";
    ::close(inherited);
}

TEST_F(ProgramStartTest, GivesItOrdinarySignals)
{
    const ChildSignalHandler ignoring(SIG_IGN);
    sigset_t some;
    ::sigemptyset(&some);
    ::sigaddset(&some, SIGUSR1);
    ::pthread_sigmask(SIG_BLOCK, &some, nullptr);
    // Not by a shell, which would unblock them itself.
    std::error_code error;
    EXPECT_TRUE(Pt::startProgram("/bin/cp", {"/proc/self/status", file}, error));
    EXPECT_TRUE(waitUntil([&] { return test::read(file).find("SigCgt") != std::string::npos; }));
    const std::string status = test::read(file);
    ::pthread_sigmask(SIG_UNBLOCK, &some, nullptr);
    EXPECT_THAT(status, testing::HasSubstr("SigBlk:\t0000000000000000"));
    // All that programs use; the two above are the C library's own.
    constexpr std::uint64_t kOrdinary = 0x7fffffff;
    const std::size_t ignored = status.find("SigIgn:\t");
    ASSERT_NE(ignored, std::string::npos);
    EXPECT_EQ(std::stoull(status.substr(ignored + 8), nullptr, 16) & kOrdinary, 0U);
}

TEST_F(ProgramStartTest, GivesItTheEnvironmentAndTheWorkingFolder)
{
    environment.set("WORD_FOR_THE_PROGRAM", "good morning");
    EXPECT_EQ(written("echo $WORD_FOR_THE_PROGRAM; pwd"),
        "good morning\n" + std::filesystem::current_path().string() + "\n");
}

TEST_F(ProgramStartTest, IsNotSeenByThoseWhoWaitForChildren)
{
    if (test::kIsThreadSanitized)
        GTEST_SKIP() << "the thread sanitizer knows no child but an ordinary one";
    const ChildSignalHandler counting(countChildSignal);
    const pid_t own = ::fork();
    if (own == 0)
        ::_exit(7);
    siginfo_t info = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(own), &info, WEXITED | WNOWAIT), 0);
    ASSERT_TRUE(waitUntil([] { return gChildSignals == 1; }));
    const Pt::ProcessIdentity other = shell("exit 0");
    ASSERT_TRUE(waitUntil([&] { return !Pt::isProcessRunning(other); }));
    EXPECT_EQ(gChildSignals, 1);
    int status = 0;
    EXPECT_EQ(::waitpid(-1, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(::waitpid(-1, &status, 0), -1);
}

TEST_F(ProgramStartTest, WorksWhereChildrenAreNotWaitedFor)
{
    const ChildSignalHandler ignoring(SIG_IGN);
    const std::string id = written("echo $$"); // it is started here
    EXPECT_EQ(id, std::to_string(process.id) + "\n");
}

TEST_F(ProgramStartTest, KnowsTheStartOfAProgramThatHasEndedAlready)
{
    const Pt::ProcessIdentity ended = shell("exit 0");
    EXPECT_NE(ended.startTime, 0U);
    EXPECT_TRUE(waitUntil([&] { return !Pt::isProcessRunning(ended); }));
}

TEST_F(ProgramStartTest, SaysWhyAProgramCannotBeStarted)
{
    const auto errorFor = [](const std::string& path) {
        std::error_code error;
        EXPECT_FALSE(Pt::startProgram(path, {}, error));
        return error;
    };
    EXPECT_EQ(errorFor(folder.path("missing")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(errorFor(folder.path()), std::errc::permission_denied);
    EXPECT_EQ(errorFor(folder.write("text", "no program")), std::errc::permission_denied);
    std::filesystem::permissions(folder.path("text"), std::filesystem::perms::owner_all);
    EXPECT_EQ(errorFor(folder.path("text")), std::errc::executable_format_error);
}

TEST_F(ProgramStartTest, WorksFromManyThreadsAtOnce)
{
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 8; ++j) {
                std::error_code error;
                EXPECT_TRUE(Pt::startProgram("/bin/true", {}, error)) << error.message();
            }
        });
}

class WebAddressTest : public ProgramStartTest {
protected:
    WebAddressTest()
    {
        folder.write("bin/xdg-open",
            "#!/bin/sh\nprintf '%s|' \"$@\" > " + file + ".part\n/bin/mv " + file + ".part " + file
                + "\n");
        std::filesystem::permissions(
            folder.path("bin/xdg-open"), std::filesystem::perms::owner_all);
    }
};

TEST_F(WebAddressTest, IsOneArgumentOfTheDesktopsOpener)
{
    environment.set("PATH", folder.path("bin"));
    EXPECT_FALSE(Pt::openWebAddress("https://example.org/?a=$(true) b;c&d"));
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(file); }));
    EXPECT_EQ(test::read(file), "https://example.org/?a=$(true) b;c&d|");
}

TEST_F(WebAddressTest, IsRefusedWithoutAnOpener)
{
    environment.set("PATH", folder.path("empty"));
    EXPECT_EQ(Pt::openWebAddress("https://example.org"), std::errc::no_such_file_or_directory);
}

} // namespace
