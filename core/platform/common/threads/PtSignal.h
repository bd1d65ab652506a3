#pragma once

#include "platform/common/services/PtConfig.h"

namespace Pt {

// Who is asked when the process is to end. There is one handler at a time, borrowed; without one,
// or when it answers false or throws, the process ends with exit(0). The handler is called in the
// thread that delivers: the signal thread, or any that calls SignalDeliver. It must not wait for a
// thread that is in SignalUninit or PlatformUninit, as these wait for its return.
class Signal {
public:
    // True when the handler has seen to it, and the process goes on.
    virtual bool terminationRequested() = 0;
    virtual bool abnormalEnd() = 0;

    // Makes newHandler (null: none) the handler; *oldHandler, when not null, becomes the one
    // before. When this returns, no other thread is in the old handler any more: it may go. Only
    // inside a handler it does not wait for that.
    static void EstablishHandler(Signal* newHandler, Signal** oldHandler);

protected:
    Signal() = default;
    ~Signal() = default;
};

// What a signal means to the handler.
inline constexpr int kTerminationRequested = 0;
inline constexpr int kAbnormalEnd = 1;

// Asks the handler; does not return when the process is to end. Any other kind aborts. Any thread.
// What a handler throws is logged with the number that Thread's own failures are logged with.
void SignalDeliver(int kind);

// Whether SignalDeliver has called exit(0). What exit runs, in the thread that delivers, may call
// SignalUninit and PlatformUninit: they do nothing then, as they would wait for that very thread.
bool SignalEndsProcess();

// Blocks SIGHUP, SIGUSR1 and SIGPIPE in the calling thread, and so in all threads and processes
// that it starts from here on, and starts the thread that waits for the first two, which then do
// nothing. Call it before there are other threads. With the flag of a new Config for console
// signals, which is false, SIGINT, SIGTERM (termination) and SIGQUIT, SIGABRT (abnormal end) are
// taken over, too. A call between SignalInit and SignalUninit does nothing. Throws ExSystem, and
// nothing is changed.
void SignalInit();

// The same as the configuration wants it.
void SignalInitWith(const Config& config);

// Waits until no handler is being called by the signal thread, ends that thread and unblocks what
// SignalInit has blocked in the calling thread, which must be the one that called it. A signal that
// arrived and was not delivered any more now takes its effect. Without SignalInit it does nothing.
// Throws ExSystem with EDEADLK in a handler that the signal thread calls, and changes nothing then.
void SignalUninit();

} // namespace Pt
