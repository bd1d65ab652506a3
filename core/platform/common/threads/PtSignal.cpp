#include "platform/common/threads/PtSignal.h"

#include "platform/common/services/CurrentExceptionText.h"
#include "platform/common/services/PtSysLog.h"
#include "platform/common/threads/Lock.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <vector>

namespace Pt {

namespace {

// The handler and who is being called. Never destroyed: signals come to the very end.
struct Handlers {
    Lock lock;
    std::condition_variable_any returned;
    Signal* current TEVORO_GUARDED_BY(lock) = nullptr;
    std::vector<Signal*> called TEVORO_GUARDED_BY(lock);
};

Handlers& handlers()
{
    static auto& all = *new Handlers;
    return all;
}

thread_local int gCalls = 0; // of handlers in this thread
std::atomic<bool> gIsProcessEnding{false};

// One call of the handler, known to those who wait for its end.
class HandlerCall {
public:
    HandlerCall()
    {
        const Locked locked(handlers().lock);
        m_handler = handlers().current;
        // Also for none: a call without a handler is waited for like others.
        handlers().called.push_back(m_handler);
        ++gCalls;
    }
    ~HandlerCall()
    {
        Handlers& all = handlers();
        const Locked locked(all.lock);
        all.called.erase(std::find(all.called.begin(), all.called.end(), m_handler));
        --gCalls;
        all.returned.notify_all();
    }
    HandlerCall(const HandlerCall&) = delete;
    HandlerCall& operator=(const HandlerCall&) = delete;

    // Whether there is a handler, and it has seen to it.
    bool ask(int kind)
    {
        if (!m_handler)
            return false;
        return kind == kTerminationRequested ? m_handler->terminationRequested()
                                             : m_handler->abnormalEnd();
    }

private:
    Signal* m_handler;
};

bool isHandled(int kind)
{
    HandlerCall call;
    try {
        return call.ask(kind);
    } catch (...) {
        SysLogEvent(kThreadTerminatedEvent, ThreadNumber(), currentExceptionText().c_str());
        return false;
    }
}

[[noreturn]] void SignalDefaultHandler(int argument)
{
    if (argument != 0)
        std::abort();
    // Before the exit: handlers and static destructors may ask for the end of the service that this
    // thread belongs to.
    gIsProcessEnding = true;
    std::exit(0);
}

} // namespace

void Signal::EstablishHandler(Signal* newHandler, Signal** oldHandler)
{
    Handlers& all = handlers();
    const Locked locked(all.lock);
    Signal* const old = all.current;
    all.current = newHandler;
    if (oldHandler)
        *oldHandler = old;
    // A handler that replaces itself must not wait for its own end.
    if (gCalls > 0 || old == newHandler)
        return;
    // So that the caller may delete the old handler when this returns.
    while (std::find(all.called.begin(), all.called.end(), old) != all.called.end())
        all.returned.wait(all.lock);
}

void SignalDeliver(int kind)
{
    if (kind != kTerminationRequested && kind != kAbnormalEnd)
        std::abort();
    if (!isHandled(kind))
        SignalDefaultHandler(0);
}

bool SignalEndsProcess()
{
    return gIsProcessEnding;
}

void SignalInit()
{
    SignalInitWith(Config());
}

} // namespace Pt
