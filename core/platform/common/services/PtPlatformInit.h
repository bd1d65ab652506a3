#pragma once

#include "platform/common/services/PtConfig.h"

namespace Pt {

// Starts the layer's services: exceptions, threads, signals, the log, and file and socket I/O if
// asked for. The first call keeps the configuration; a later one counts, and only adds I/O that it
// asks for and that is not running yet. When a start throws, what the call has started is stopped
// again, the call does not count, and the exception goes on. The thread of the first call is the
// primary one; call it before there are others, as they inherit its signal mask. Any thread may
// call these three but a Signal handler, for whose return the last PlatformUninit waits.
void PlatformInit(const Config& config);

// The last of as many calls stops everything in reverse order, in the thread of the first
// PlatformInit, whose signal mask it restores. Without a PlatformInit it does nothing, nor once a
// signal has called exit (SignalEndsProcess), so that it may be given to atexit.
void PlatformUninit();

// The configuration of the latest first use: of the PlatformInit that started the services, also
// when they are stopped again. As constructed before any.
Config ConfigInfo();

} // namespace Pt
