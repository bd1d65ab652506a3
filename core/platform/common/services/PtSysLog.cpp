#include "platform/common/services/PtSysLog.h"

#include "platform/common/services/SystemLog.h"
#include "platform/common/text/PtUnicode.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <span>

// Where people find help: whoever builds for others says so. A % in it is to be given twice.
#ifndef TEVORO_SUPPORT_ADDRESS
#define TEVORO_SUPPORT_ADDRESS ""
#endif

namespace Pt {

namespace {

constexpr std::size_t kMaxText = 1024;

// Spelt as they stand, with their missing blanks and letters: people search for them.
constexpr const char* SysLogSuccessMsg[] = {
    "Ruvenat Daemon has Started.",
    "Ruvena Daemon has been Paused",
    "Ruvena Daemon has Continued",
    "Ruvena Daemon has Shutdown",
};
constexpr std::span<const char* const> SysLogInfoMsg{};
constexpr std::span<const char* const> SysLogWarningMsg{};
constexpr const char* SysLogErrorMsg[] = {
    "Thread %d has terminated with exception:\n %s \n"
    "For additional information on this message, please visit\n"
    "our support Web site: " TEVORO_SUPPORT_ADDRESS "\n",
    "Internal Exception in I/O Library when Issuing a I/O new request.\n %s \n"
    "For additional information on this message, pleasevisit our support Web "
    "site " TEVORO_SUPPORT_ADDRESS "\n",
    "Exception in I/O completion notification!\n %s \n"
    "For additional information on this message, please visit our supportWeb "
    "site " TEVORO_SUPPORT_ADDRESS,
    "Exception accepting a socket!\n %s \n"
    "For additional information on this message, please visit our supportWeb "
    "site " TEVORO_SUPPORT_ADDRESS,
};

struct Severity {
    std::span<const char* const> messages;
    int priority; // the system's number
};

constexpr std::array<Severity, 4> kSeverities = {{
    // Notice, information, warning and error of the system's log.
    {SysLogSuccessMsg, 5},
    {SysLogInfoMsg, 6},
    {SysLogWarningMsg, 4},
    {SysLogErrorMsg, 3},
}};

// The formats are our own tables' and not literals here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
void format(std::span<char> text, const char* message, std::va_list arguments) noexcept
{
    if (std::vsnprintf(text.data(), text.size(), message, arguments) < 0)
        std::snprintf(text.data(), text.size(), "A message of the log cannot be written.");
}
#pragma GCC diagnostic pop

// One call, so that lines of several threads do not mix.
void writeToStandardError(const char* text) noexcept
{
    const bool endsLine = std::string_view(text).ends_with('\n');
    std::fprintf(stderr, endsLine ? "%s" : "%s\n", text);
    std::fflush(stderr);
}

} // namespace

void SysLogInit(const unsigned short* name, const unsigned short*)
{
    openSystemLog(toUtf8(name));
}

void SysLogUninit()
{
    closeSystemLog();
}

const char* LookupMessage(std::uint32_t id, int* priority)
{
    // The two highest bits are the severity. The low half is the place in its table, counted from
    // 1000 for a success, from 2000 for information, and so on.
    const std::uint32_t severity = id >> 30U;
    const Severity& row = kSeverities[severity];
    *priority = row.priority;
    // A number below its severity's first wraps round and lies behind the table, too.
    const std::uint32_t index = (id & 0xFFFFU) - 1000U * (severity + 1);
    return index < row.messages.size() ? row.messages[index] : nullptr;
}

void SysLogEvent(std::uint32_t id, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, id);
    // A configuration by default, on purpose: not the one that PlatformInit was given.
    SysLogEventWith(Config(), id, arguments);
    va_end(arguments);
}

void SysLogEventWith(const Config& config, std::uint32_t id, std::va_list arguments) noexcept
{
    int priority = 0;
    const char* const message = LookupMessage(id, &priority);
    std::array<char, kMaxText> text{};
    if (message)
        format(text, message, arguments);
    else
        std::snprintf(text.data(), text.size(), "Message 0x%08X has no text", id);
    if (config.usesSystemLog)
        writeSystemLog(priority, text.data());
    else
        writeToStandardError(text.data());
}

} // namespace Pt
