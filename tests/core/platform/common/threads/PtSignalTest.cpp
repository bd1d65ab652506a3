#include "platform/common/threads/PtSignal.h"

#include "core/platform/support/OrdinarySignals.h"
#include "core/platform/support/SystemFailure.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/threads/PtSemaphore.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::vector<int> kConsoleSet{SIGHUP, SIGINT, SIGQUIT, SIGABRT, SIGUSR1, SIGPIPE, SIGTERM};

// Those of the numbers that the calling thread blocks.
std::vector<int> blockedOf(const std::vector<int>& numbers)
{
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    std::vector<int> blocked;
    for (const int each : numbers)
        if (::sigismember(&mask, each) == 1)
            blocked.push_back(each);
    return blocked;
}

Pt::Config console()
{
    Pt::Config config;
    config.handlesConsoleSignals = true;
    return config;
}

// A handler that does something and accepts.
class Acting final : public Pt::Signal {
public:
    explicit Acting(std::function<void()> what = [] {})
        : m_what(std::move(what))
    {
    }

    bool terminationRequested() override
    {
        ++terminations;
        return act();
    }
    bool abnormalEnd() override
    {
        ++abnormalEnds;
        return act();
    }

    std::atomic<int> terminations{0};
    std::atomic<int> abnormalEnds{0};
    Pt::Semaphore wasCalled;

private:
    bool act()
    {
        m_what();
        wasCalled.post();
        return true;
    }

    std::function<void()> m_what;
};

// Leaves neither a handler nor signals behind.
class PtSignalTest : public testing::Test {
protected:
    ~PtSignalTest() override
    {
        Pt::SignalUninit();
        Pt::Signal::EstablishHandler(nullptr, nullptr);
        EXPECT_THAT(blockedOf(kConsoleSet), IsEmpty());
    }

    static void send(int number) { ASSERT_EQ(::kill(::getpid(), number), 0); }

private:
    const test::OrdinarySignals m_ordinary;
};

std::atomic<int> gTaken{0};

void countTaken(int)
{
    ++gTaken;
}

// SIGINT's own effect, counted.
class CountingInterrupts {
public:
    CountingInterrupts()
    {
        struct sigaction action = {};
        action.sa_handler = countTaken;
        gTaken = 0;
        ::sigaction(SIGINT, &action, &m_before);
    }
    ~CountingInterrupts() { ::sigaction(SIGINT, &m_before, nullptr); }
    CountingInterrupts(const CountingInterrupts&) = delete;
    CountingInterrupts& operator=(const CountingInterrupts&) = delete;

private:
    struct sigaction m_before = {};
};

} // namespace

TEST_F(PtSignalTest, SwapsTheHandler)
{
    Acting first;
    Acting second;
    Pt::Signal* old = &second;
    Pt::Signal::EstablishHandler(&first, &old);
    EXPECT_EQ(old, nullptr);
    Pt::Signal::EstablishHandler(&second, &old);
    EXPECT_EQ(old, &first);
    Pt::SignalDeliver(Pt::kTerminationRequested);
    EXPECT_EQ(first.terminations, 0);
    EXPECT_EQ(second.terminations, 1);
    Pt::Signal::EstablishHandler(nullptr, &old);
    EXPECT_EQ(old, &second);
}

TEST_F(PtSignalTest, AsksWhatFitsTheKind)
{
    Acting handler;
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::SignalDeliver(0);
    Pt::SignalDeliver(1);
    Pt::SignalDeliver(1);
    EXPECT_EQ(handler.terminations, 1);
    EXPECT_EQ(handler.abnormalEnds, 2);
}

TEST_F(PtSignalTest, EndsTheProcessWithoutAHandler)
{
    EXPECT_EXIT(Pt::SignalDeliver(0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(Pt::SignalDeliver(1), testing::ExitedWithCode(0), "");
}

TEST_F(PtSignalTest, AbortsForAnyOtherKind)
{
    Acting handler;
    Pt::Signal::EstablishHandler(&handler, nullptr);
    EXPECT_EXIT(Pt::SignalDeliver(2), testing::KilledBySignal(SIGABRT), "");
    EXPECT_EXIT(Pt::SignalDeliver(-1), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(PtSignalTest, EndsTheProcessWhenTheHandlerThrows)
{
    Acting handler([] { throw std::runtime_error("broken"); });
    Pt::Signal::EstablishHandler(&handler, nullptr);
    EXPECT_EXIT(Pt::SignalDeliver(0), testing::ExitedWithCode(0), "exception:\n broken");
}

TEST_F(PtSignalTest, BlocksOnlyTheHarmlessOnesByDefault)
{
    Pt::SignalInit();
    EXPECT_THAT(blockedOf(kConsoleSet), ElementsAre(SIGHUP, SIGUSR1, SIGPIPE));
    std::vector<int> inherited;
    std::thread([&] { inherited = blockedOf(kConsoleSet); }).join();
    EXPECT_THAT(inherited, ElementsAre(SIGHUP, SIGUSR1, SIGPIPE));
    Pt::SignalUninit();
    EXPECT_THAT(blockedOf(kConsoleSet), IsEmpty());
}

TEST_F(PtSignalTest, BlocksTheConsolesToo)
{
    Pt::SignalInitWith(console());
    EXPECT_EQ(blockedOf(kConsoleSet), kConsoleSet);
    Pt::SignalUninit();
    EXPECT_THAT(blockedOf(kConsoleSet), IsEmpty());
}

TEST_F(PtSignalTest, KeepsWhatWasBlockedBefore)
{
    sigset_t mask;
    ::sigemptyset(&mask);
    ::sigaddset(&mask, SIGHUP);
    ::sigaddset(&mask, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &mask, nullptr);
    Pt::SignalInitWith(console());
    Pt::SignalUninit();
    EXPECT_THAT(blockedOf(kConsoleSet), ElementsAre(SIGHUP, SIGTERM));
    ::pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
}

TEST_F(PtSignalTest, IsStartedOnceAndStoppedOnce)
{
    Pt::SignalUninit();
    EXPECT_THAT(blockedOf(kConsoleSet), IsEmpty());
    Pt::SignalInit();
    Pt::SignalInitWith(console());
    EXPECT_THAT(blockedOf(kConsoleSet), ElementsAre(SIGHUP, SIGUSR1, SIGPIPE));
    Pt::SignalUninit();
    EXPECT_THAT(blockedOf(kConsoleSet), IsEmpty());
    Pt::SignalUninit();
    Pt::SignalInitWith(console());
    EXPECT_EQ(blockedOf(kConsoleSet), kConsoleSet);
}

TEST_F(PtSignalTest, CallsTheHandlerInAThreadOfItsOwn)
{
    Pt::ThreadHandle thread = 0;
    Acting handler([&] { thread = Pt::ThreadSelf(); });
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::SignalInitWith(console());
    send(SIGTERM);
    handler.wasCalled.wait();
    EXPECT_FALSE(Pt::ThreadCmp(thread, Pt::ThreadSelf()));
}

TEST_F(PtSignalTest, AsksAsTheSignalSays)
{
    Acting handler;
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::SignalInitWith(console());
    for (const int each : {SIGTERM, SIGINT, SIGQUIT, SIGABRT}) {
        send(SIGHUP);
        send(SIGUSR1);
        send(each);
        handler.wasCalled.wait();
    }
    EXPECT_EQ(handler.terminations, 2);
    EXPECT_EQ(handler.abnormalEnds, 2);
}

TEST_F(PtSignalTest, WaitsForTheHandlerBeforeItStops)
{
    const pid_t stopping = ::gettid();
    std::atomic<bool> hasReturned{false};
    Pt::Semaphore isInside;
    Acting handler([&] {
        isInside.post();
        EXPECT_TRUE(
            test::waitUntil([&] { return test::threadState(::getpid(), stopping) == 'S'; }));
        hasReturned = true;
    });
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::SignalInitWith(console());
    send(SIGTERM);
    isInside.wait();
    Pt::SignalUninit();
    EXPECT_TRUE(hasReturned);
}

TEST_F(PtSignalTest, DoesNotWaitForItselfInAHandler)
{
    int error = 0;
    Acting handler([&] {
        Pt::SignalInit();
        error = test::failureOf([] { Pt::SignalUninit(); });
    });
    Pt::Signal::EstablishHandler(&handler, nullptr);
    Pt::SignalInitWith(console());
    send(SIGTERM);
    handler.wasCalled.wait();
    Pt::SignalUninit();
    EXPECT_EQ(error, EDEADLK);
}

TEST_F(PtSignalTest, LetsTheOldHandlerGoOnlyWhenNobodyIsInIt)
{
    const pid_t replacing = ::gettid();
    std::atomic<bool> hasReturned{false};
    Pt::Semaphore isInside;
    Acting old([&] {
        isInside.post();
        EXPECT_TRUE(
            test::waitUntil([&] { return test::threadState(::getpid(), replacing) == 'S'; }));
        hasReturned = true;
    });
    Acting next;
    Pt::Signal::EstablishHandler(&old, nullptr);
    std::thread delivering([] { Pt::SignalDeliver(0); });
    isInside.wait();
    Pt::Signal::EstablishHandler(&next, nullptr);
    EXPECT_TRUE(hasReturned);
    delivering.join();
}

TEST_F(PtSignalTest, LetsAHandlerReplaceItself)
{
    Acting next;
    Acting first([&] { Pt::Signal::EstablishHandler(&next, nullptr); });
    Pt::Signal::EstablishHandler(&first, nullptr);
    Pt::SignalDeliver(0);
    Pt::SignalDeliver(0);
    EXPECT_EQ(first.terminations, 1);
    EXPECT_EQ(next.terminations, 1);
}

// Each would end the process with its own effect, were it still there when it is unblocked.
TEST_F(PtSignalTest, LeavesNoHarmlessSignalBehind)
{
    for (int round = 0; round < 300; ++round) {
        Pt::SignalInit();
        send(round % 2 == 0 ? SIGHUP : SIGUSR1);
        send(round % 3 == 0 ? SIGHUP : SIGUSR1);
        ::pthread_kill(::pthread_self(), SIGPIPE);
        Pt::SignalUninit();
    }
}

// Either the handler is told or the signal has its own effect, but it is never lost.
TEST_F(PtSignalTest, LosesNoSignalThatArrivesAtTheEnd)
{
    constexpr int kRounds = 1000;
    const CountingInterrupts counting;
    Acting handler;
    Pt::Signal::EstablishHandler(&handler, nullptr);
    for (int round = 1; round <= kRounds; ++round) {
        Pt::SignalInitWith(console());
        std::thread sender([] { send(SIGINT); });
        Pt::SignalUninit();
        sender.join();
        ASSERT_TRUE(test::waitUntil([&] { return handler.terminations + gTaken == round; }))
            << "in round " << round;
    }
}
