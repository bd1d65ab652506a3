// A signal that is in the signal thread's hand while it is told to end: this program stands in for
// the call that waits for signals.

#include "core/platform/support/ThreadState.h"
#include "platform/common/PtSignal.h"

#include <atomic>
#include <cerrno>
#include <csignal>

#include <gtest/gtest.h>

namespace {

std::atomic<int> g_kept{0}; // the signal that is not handed out until the first thread waits
std::atomic<bool> g_isInHand{false};
std::atomic<int> g_effects{0};

void countEffect(int)
{
    ++g_effects;
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

extern "C" int sigwait(sigset_t const* set, int* number)
{
    int got = -1;
    while ((got = ::sigwaitinfo(set, nullptr)) == -1 && errno == EINTR) { }
    if (got == g_kept) {
        g_isInHand = true;
        test::isAsleepBefore(::getpid(), std::chrono::seconds(60));
    }
    *number = got;
    return 0;
}

TEST(PtSignalLateTest, GivesBackWhatItHadInHandAtTheEnd)
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
    g_kept = SIGINT;
    ::kill(::getpid(), SIGINT);
    while (!g_isInHand) { } // a sleep would be taken for the wait at the end
    Pt::SignalUninit();
    EXPECT_EQ(handler.calls, 0);
    EXPECT_EQ(g_effects, 1);
    Pt::Signal::EstablishHandler(nullptr, nullptr);
    ::sigaction(SIGINT, &before, nullptr);
}
