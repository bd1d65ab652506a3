#pragma once

#include "platform/common/threads/PtThread.h"

#include <array>
#include <cstddef>

namespace Pt {

// What PlatformInit is to start, and how. A plain record: whoever has one owns it.
struct Config {
    static constexpr std::size_t kNameUnits = 256;
    using Name = std::array<unsigned short, kNameUnits>; // NUL-terminated, or full

    Name applicationName{}; // who speaks in the log
    Name secondName{}; // handed to the log, which does not use it
    int fileWorkers = 2 * ProcessorCount();
    int socketWorkers = 2 * ProcessorCount();
    int thirdCount = 1; // stored only, like all that is called after its place
    int fourthCount = 4;
    bool firstFlag = true;
    bool startsFileIo = false;
    bool startsSocketIo = false;
    bool fourthFlag = false;
    bool handlesConsoleSignals = false; // see SignalInit
    bool usesSystemLog = false; // see SysLogEvent
};

} // namespace Pt
