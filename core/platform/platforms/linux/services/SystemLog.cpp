#include "platform/common/services/SystemLog.h"

#include <memory>
#include <utility>

#include <syslog.h>

namespace Pt {

namespace {

// The system keeps a pointer to the name. Never destroyed: the end of the process is logged, too.
std::unique_ptr<std::string const>& keptName()
{
    static auto& name = *new std::unique_ptr<std::string const>;
    return name;
}

} // namespace

void openSystemLog(const std::string& name)
{
    auto next = std::make_unique<std::string const>(name);
    ::openlog(next->c_str(), LOG_PID | LOG_CONS | LOG_NDELAY, LOG_DAEMON);
    keptName() = std::move(next); // the old one was in use up to here
}

void closeSystemLog()
{
    ::closelog();
}

void writeSystemLog(int priority, const char* text) noexcept
{
    // Never as the format itself: texts contain percent signs.
    ::syslog(priority, "%s", text);
}

} // namespace Pt
