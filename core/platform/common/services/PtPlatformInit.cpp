#include "platform/common/services/PtPlatformInit.h"

#include "platform/common/devices/PtIoThread.h"
#include "platform/common/services/PtExPost.h"
#include "platform/common/services/PtPlatformStart.h"
#include "platform/common/services/PtSysLog.h"
#include "platform/common/text/PtUnicode.h"
#include "platform/common/threads/PtSignal.h"
#include "platform/common/threads/PtThread.h"

#include <algorithm>

namespace Pt {

namespace {

WideText textOf(const Config::Name& name)
{
    return {name.begin(), std::find(name.begin(), name.end(), 0)};
}

void startLog(const Config& config)
{
    SysLogInit(textOf(config.applicationName).c_str(), textOf(config.secondName).c_str());
}

bool always(const Config&)
{
    return true;
}

} // namespace

// They are stopped in reverse, so each may use those above it.
std::vector<PlatformService> platformServices()
{
    return {
        {always, [](const Config&) { ExceptionInit(); }, ExceptionUninit},
        {always, [](const Config&) { ThreadInit(); }, ThreadUninit},
        {always, [](const Config&) { SignalInit(); }, SignalUninit},
        {always, startLog, SysLogUninit},
        {[](const Config& config) { return config.startsFileIo; },
            [](const Config& config) { IoFileInit(config.fileWorkers); },
            IoFileUninit},
        {[](const Config& config) { return config.startsSocketIo; },
            [](const Config& config) { IoSocketInit(config.socketWorkers); },
            IoSocketUninit},
    };
}

namespace {

// Never destroyed: a signal may end the process from another thread at any time.
PlatformStart& platform()
{
    static auto& start = *new PlatformStart(platformServices());
    return start;
}

} // namespace

void PlatformInit(const Config& config)
{
    platform().init(config);
}

void PlatformUninit()
{
    if (SignalEndsProcess())
        return; // before any lock: whoever holds one may wait for this thread
    platform().uninit();
}

Config ConfigInfo()
{
    return platform().configuration();
}

} // namespace Pt
