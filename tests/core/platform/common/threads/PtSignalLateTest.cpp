// The signal thread at its end, with a signal in its hand or broken before: this program stands in
// for the calls that wait for signals and send them, and for what allocates.

#include "core/platform/support/FailingAllocations.h"
#include "core/platform/support/OrdinarySignals.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/threads/PtSignal.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

std::atomic<int> gKept{0}; // the signal that is not handed out until the first thread waits
std::atomic<bool> gIsInHand{false};
std::atomic<int> gEffects{0};
std::atomic<bool> gCannotWait{false};
std::atomic<bool> gRunsOutOfMemory{false};
std::atomic<int> gKillError{0};
std::atomic<pid_t> gWaiting{0}; // the signal thread

void countEffect(int)
{
    ++gEffects;
}

class Accepting final : public Pt::Signal {
public:
    bool terminationRequested() override
    {
        ++calls;
        return true;
    }
    bool abnormalEnd() override { return true; }

    std::atomic<int> calls{0};
};

} // namespace

extern "C" int sigwait(const sigset_t* set, int* number)
{
    if (gCannotWait)
        return EINVAL;
    gWaiting = ::gettid();
    int got = -1;
    while ((got = ::sigwaitinfo(set, nullptr)) == -1 && errno == EINTR) { }
    if (got == gKept) {
        gIsInHand = true;
        test::isAsleepBefore(::getpid(), std::chrono::seconds(60));
    }
    *number = got;
    if (gRunsOutOfMemory)
        test::tAllocationsLeft = 0; // none more in this thread
    return 0;
}

extern "C" int pthread_kill(pthread_t thread, int number) noexcept
{
    if (gKillError != 0)
        return gKillError;
    using Call = int(pthread_t, int);
    return reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, "pthread_kill"))(thread, number);
}

class PtSignalLateTest : public testing::Test {
private:
    const test::OrdinarySignals m_ordinary;
};

// Some systems tell that there is nobody any more.
TEST_F(PtSignalLateTest, IsStoppedAlthoughTheThreadHasEnded)
{
    testing::internal::CaptureStderr();
    gCannotWait = true;
    Pt::SignalInit();
    gKillError = ESRCH;
    EXPECT_NO_THROW(Pt::SignalUninit());
    gKillError = 0;
    gCannotWait = false;
    EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
        testing::HasSubstr("has terminated with exception"));
}

// Its stop waits for a response that has begun, and not for one that was broken off.
TEST_F(PtSignalLateTest, IsStoppedAlthoughAResponseWasBrokenOff)
{
    testing::internal::CaptureStderr();
    Pt::Config config;
    config.handlesConsoleSignals = true;
    gWaiting = 0;
    gRunsOutOfMemory = true;
    Pt::SignalInitWith(config);
    ::kill(::getpid(), SIGTERM);
    EXPECT_TRUE(test::waitUntil([] { return gWaiting != 0; }));
    EXPECT_TRUE(test::waitUntil([] { return test::threadState(::getpid(), gWaiting) == '?'; }));
    gRunsOutOfMemory = false;
    Pt::SignalUninit();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("bad_alloc"));
}

TEST_F(PtSignalLateTest, GivesBackWhatItHadInHandAtTheEnd)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = countEffect;
    ASSERT_EQ(::sigaction(SIGINT, &action, &before), 0);
    Accepting handler;
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::Config config;
    config.handlesConsoleSignals = true;
    Pt::SignalInitWith(config);
    gKept = SIGINT;
    ::kill(::getpid(), SIGINT);
    while (!gIsInHand) { } // a sleep would be taken for the wait at the end
    Pt::SignalUninit();
    EXPECT_EQ(handler.calls, 0);
    EXPECT_EQ(gEffects, 1);
    Pt::Signal::EstablishHandler(nullptr, nullptr);
    ::sigaction(SIGINT, &before, nullptr);
}
