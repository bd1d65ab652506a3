#include "platform/common/services/ProgramEnvironment.h"

#include "support/Environment.h"
#include "support/TestFolder.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// How a process ends that does this: its exit status, or 128 and its signal's number.
template <typename Action>
int endOf(Action action)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(action());
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(ProgramEnvironmentTest, KnowsWhereTheProgramLies)
{
    EXPECT_TRUE(std::filesystem::exists(Pt::programFolder() + "/platform_tests"));
    EXPECT_EQ(Pt::programFolder(), std::filesystem::canonical(Pt::programFolder()));
}

TEST(ProgramEnvironmentTest, TellsTheUserWhoseRightsItHas)
{
    EXPECT_EQ(Pt::effectiveUser(), ::geteuid());
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root can become somebody else";
    EXPECT_EQ(
        endOf([] { return ::seteuid(65534) == 0 && Pt::effectiveUser() == 65534U ? 1 : 0; }), 1);
}

TEST(ProgramEnvironmentTest, TellsTheProcessItRunsIn)
{
    EXPECT_EQ(Pt::processId(), ::getpid());
    EXPECT_EQ(endOf([] { return Pt::processId() == ::getpid() ? 0 : 1; }), 0);
}

TEST(ProgramEnvironmentTest, NotesTheFirstInterruptAndEndsAtTheSecond)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        EXPECT_EQ(endOf([signal] {
            Pt::noteInterrupts();
            if (Pt::wasInterrupted())
                return 1;
            ::raise(signal);
            return Pt::wasInterrupted() ? 0 : 2;
        }),
            0);
        EXPECT_EQ(endOf([signal] {
            Pt::noteInterrupts();
            ::raise(signal);
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            ::raise(signal);
            return 0;
        }),
            128 + signal);
        // timeout(1) tells the process and then its group.
        EXPECT_EQ(endOf([signal] {
            Pt::noteInterrupts();
            ::raise(signal);
            ::raise(signal);
            return Pt::wasInterrupted() ? 0 : 2;
        }),
            0);
    }
}

TEST(ProgramEnvironmentTest, WaitsForInputOrAnInterrupt)
{
    const auto waiting = [](bool hasInput, bool isClosed, const std::function<void()>& before) {
        return endOf([&] {
            ::alarm(20);
            Pt::noteInterrupts();
            int ends[2] = {};
            if (::pipe(ends) != 0)
                return 2;
            if (hasInput && ::write(ends[1], "x", 1) != 1)
                return 3;
            if (isClosed)
                ::close(ends[1]);
            before();
            return Pt::waitForInput(::fdopen(ends[0], "r")) ? 1 : 0;
        });
    };
    EXPECT_EQ(waiting(true, false, [] {}), 1);
    EXPECT_EQ(waiting(false, true, [] {}), 1) << "the end is input, too";
    EXPECT_EQ(waiting(false, false, [] { ::raise(SIGTERM); }), 0) << "before the wait";
    EXPECT_EQ(waiting(false,
                  false,
                  [] {
                      // Where another thread takes the signal, no call of this one is interrupted.
                      std::thread([] {
                          std::this_thread::sleep_for(std::chrono::milliseconds(50));
                          ::raise(SIGINT);
                      }).detach();
                  }),
        0);
    EXPECT_EQ(waiting(true, false, [] { ::raise(SIGINT); }), 0);
}

TEST(ProgramEnvironmentTest, IgnoresASignalThatWasIgnoredAtItsStart)
{
    for (const int signal : {SIGHUP, SIGQUIT})
        EXPECT_EQ(endOf([signal] {
            std::signal(signal, SIG_IGN);
            Pt::noteInterrupts();
            ::raise(signal);
            ::raise(signal);
            return Pt::wasInterrupted() ? 1 : 0;
        }),
            0);
}

TEST(ProgramEnvironmentTest, FailsAWriteBeyondTheLimitOfAFilesSize)
{
    EXPECT_EQ(endOf([] {
        Pt::noteInterrupts();
        const rlimit none = {0, 0};
        std::FILE* const file = std::tmpfile();
        if (!file || ::setrlimit(RLIMIT_FSIZE, &none) != 0)
            return 1;
        return ::write(::fileno(file), "x", 1) == -1 && errno == EFBIG ? 0 : 2;
    }),
        0);
}

// A file that is opened where standard output was closed would get what is printed.
TEST(ProgramEnvironmentTest, LetsNoFileTakeThePlaceOfAClosedStream)
{
    EXPECT_EQ(endOf([] {
        for (const int stream : {0, 1, 2})
            ::close(stream);
        Pt::holdStandardStreams();
        if (::open("/dev/null", O_RDWR) <= 2)
            return 1;
        return ::write(1, "x", 1) == -1 && ::write(2, "x", 1) == -1 && ::read(0, nullptr, 0) == -1
            ? 0
            : 2;
    }),
        0);
}

TEST(ProgramEnvironmentTest, TellsThatNobodyWillReadBeforeAnythingIsWritten)
{
    EXPECT_EQ(endOf([] {
        if (!std::freopen("/dev/null", "w", stdout) || Pt::writeObstacle(stdout))
            return 1;
        int ends[2] = {};
        if (::pipe(ends) != 0 || ::dup2(ends[1], 1) != 1 || Pt::writeObstacle(stdout))
            return 2;
        ::close(ends[0]);
        ::close(ends[1]);
        if (Pt::writeObstacle(stdout) != std::errc::broken_pipe)
            return 3;
        ::close(1);
        Pt::holdStandardStreams();
        return Pt::writeObstacle(stdout) == std::errc::bad_file_descriptor ? 0 : 4;
    }),
        0);
}

TEST(ProgramEnvironmentTest, LeavesStreamsThatAreOpenAlone)
{
    EXPECT_EQ(endOf([] {
        struct stat before = {};
        struct stat after = {};
        ::fstat(1, &before);
        Pt::holdStandardStreams();
        ::fstat(1, &after);
        return before.st_ino == after.st_ino && before.st_dev == after.st_dev ? 0 : 1;
    }),
        0);
}

TEST(ProgramEnvironmentTest, OpensAsManyFilesAsTheSystemAllows)
{
    EXPECT_EQ(endOf([] {
        rlimit limit = {};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 16;
        ::setrlimit(RLIMIT_NOFILE, &limit);
        return Pt::raiseDescriptorLimit() == limit.rlim_max ? 0 : 1;
    }),
        0);
}

TEST(ProgramEnvironmentTest, GoesOnWhenNobodyReadsItsOutput)
{
    EXPECT_EQ(endOf([] {
        Pt::noteInterrupts();
        int ends[2] = {};
        if (::pipe(ends) != 0)
            return 1;
        ::close(ends[0]);
        return ::write(ends[1], "x", 1) == -1 && errno == EPIPE ? 0 : 2;
    }),
        0);
}

TEST(ProgramEnvironmentTest, LetsAnInterruptEndAWaitForInput)
{
    EXPECT_EQ(endOf([] {
        Pt::noteInterrupts();
        struct sigaction action = {};
        ::sigaction(SIGINT, nullptr, &action);
        return (action.sa_flags & SA_RESTART) == 0 ? 0 : 1;
    }),
        0);
}

TEST(ProgramEnvironmentTest, KnowsATerminalAndItsWidth)
{
    const int person = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(person, 0);
    ASSERT_EQ(::grantpt(person), 0);
    ASSERT_EQ(::unlockpt(person), 0);
    std::FILE* const terminal = std::fopen(::ptsname(person), "r+");
    ASSERT_NE(terminal, nullptr);
    EXPECT_TRUE(Pt::isTerminal(terminal));
    EXPECT_EQ(Pt::terminalWidth(terminal), 80) << "it does not tell yet";
    const winsize size{24, 132, 0, 0};
    ASSERT_EQ(::ioctl(person, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(Pt::terminalWidth(terminal), 132);
    std::fclose(terminal);
    ::close(person);
}

TEST(ProgramEnvironmentTest, TakesAFileForNoTerminal)
{
    const test::TestFolder folder;
    std::FILE* const file = std::fopen(folder.path("file").c_str(), "w");
    ASSERT_NE(file, nullptr);
    EXPECT_FALSE(Pt::isTerminal(file));
    EXPECT_EQ(Pt::terminalWidth(file), 80);
    std::fclose(file);
}

TEST(ProgramEnvironmentTest, SetsAVariableOverWhatItWas)
{
    test::Environment environment;
    environment.unset("MFX_TEST_VARIABLE");
    EXPECT_EQ(Pt::environmentVariable("MFX_TEST_VARIABLE"), std::nullopt);
    Pt::setEnvironmentVariable("MFX_TEST_VARIABLE", "a");
    Pt::setEnvironmentVariable("MFX_TEST_VARIABLE", "b c");
    EXPECT_EQ(Pt::environmentVariable("MFX_TEST_VARIABLE"), "b c");
}

} // namespace
