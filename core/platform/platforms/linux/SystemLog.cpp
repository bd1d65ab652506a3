#include "platform/common/SystemLog.h"

#include <syslog.h>

namespace Pt {

namespace {

// The system keeps a pointer to the name. Never destroyed: the end of the process is logged, too.
std::string& keptName()
{
    static auto& name = *new std::string;
    return name;
}

} // namespace

void openSystemLog(std::string const& name)
{
    keptName() = name;
    ::openlog(keptName().c_str(), LOG_PID | LOG_CONS | LOG_NDELAY, LOG_DAEMON);
}

void closeSystemLog()
{
    ::closelog();
}

void writeSystemLog(int priority, char const* text) noexcept
{
    ::syslog(priority, "%s", text);
}

} // namespace Pt
