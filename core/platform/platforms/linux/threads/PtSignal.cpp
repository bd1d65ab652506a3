#include "platform/common/threads/PtSignal.h"

#include "platform/common/threads/Lock.h"
#include "platform/platforms/linux/services/Retry.h"
#include "platform/platforms/linux/threads/PtSignalThread.h"
#include "platform/platforms/linux/threads/ThreadCall.h"

#include <initializer_list>
#include <memory>
#include <utility>

namespace Pt {

namespace {

// What lies between SignalInit and SignalUninit.
struct SignalService {
    explicit SignalService(const sigset_t& awaited)
        : thread(awaited)
    {
    }
    PtSignalThread thread;
    sigset_t unblocked = {}; // what SignalUninit unblocks
};

Lock gLock;
// A plain pointer: the end of the process, which the signal thread may be, does not wait for it.
SignalService* gService TEVORO_GUARDED_BY(gLock) = nullptr;

sigset_t setOf(std::initializer_list<int> numbers)
{
    sigset_t set;
    ::sigemptyset(&set);
    for (const int each : numbers)
        ::sigaddset(&set, each);
    return set;
}

sigset_t awaitedSignals(const Config& config)
{
    return config.handlesConsoleSignals
        ? setOf({SIGHUP, SIGUSR1, SIGINT, SIGQUIT, SIGABRT, SIGTERM})
        : setOf({SIGHUP, SIGUSR1});
}

// The signals of a set that are not blocked by that mask.
sigset_t without(sigset_t set, const sigset_t& mask)
{
    for (int each = 1; each < NSIG; ++each)
        if (::sigismember(&mask, each) == 1)
            ::sigdelset(&set, each);
    return set;
}

// What was waited for only so that it does nothing must not end the process once it is unblocked.
void discardHarmless(const sigset_t& unblocked)
{
    for (const int each : {SIGHUP, SIGUSR1, SIGPIPE}) {
        const sigset_t one = setOf({each});
        const timespec noTime = {};
        if (::sigismember(&unblocked, each) == 1) {
            while (retryInterrupted([&] { return ::sigtimedwait(&one, nullptr, &noTime); }) != -1) {
            }
        }
    }
}

void changeMask(int how, const sigset_t& set, sigset_t* old)
{
    requireSuccess(::pthread_sigmask(how, &set, old));
}

} // namespace

void SignalInitWith(const Config& config)
{
    if (PtSignalThread::isCurrent())
        return; // a handler: the service runs, and may just be waited for
    const Locked locked(gLock);
    if (gService)
        return;
    const sigset_t awaited = awaitedSignals(config);
    auto service = std::make_unique<SignalService>(awaited);
    sigset_t blocked = awaited;
    ::sigaddset(&blocked, SIGPIPE); // before the thread starts: a handler may write to a pipe, too
    sigset_t old;
    changeMask(SIG_BLOCK, blocked, &old);
    try {
        service->thread.begin();
    } catch (...) {
        // Nothing is changed when this fails.
        ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
        throw;
    }
    // Only what this call has blocked is unblocked at the end.
    service->unblocked = without(blocked, old);
    gService = service.release();
}

void SignalUninit()
{
    if (SignalEndsProcess())
        return; // before any lock: whoever holds one may wait for this thread
    if (PtSignalThread::isCurrent())
        throw ExSystem(EDEADLK, ExWhere::here());
    const Locked locked(gLock);
    if (!gService)
        return;
    // While the service is still there: when this throws, it can be tried again.
    gService->thread.shutDown();
    const std::unique_ptr<SignalService> ended(std::exchange(gService, nullptr));
    // Before they are unblocked: what is pending would end the process at that moment.
    discardHarmless(ended->unblocked);
    changeMask(SIG_UNBLOCK, ended->unblocked, nullptr);
}

} // namespace Pt
