#pragma once

#include "platform/common/services/PtConfig.h"

#include <cstdarg>
#include <cstdint>

namespace Pt {

// The log of numbered messages. The top two bits of a message's number are its severity: success,
// information, warning or error. Texts are fixed formats, spelt as administrators know them; the
// address in them is the one the build was configured with (TEVORO_SUPPORT_ADDRESS). Any thread may
// write; SysLogInit and SysLogUninit are called while nobody does. Nothing here throws while it
// writes.
inline constexpr std::uint32_t kThreadTerminatedEvent = 0xE0000FA0; // int thread, char const* why
inline constexpr std::uint32_t kIoIssueEvent = 0xE0000FA1; // char const* why, as the next two
inline constexpr std::uint32_t kIoCompletionEvent = 0xE0000FA2;
inline constexpr std::uint32_t kSocketAcceptEvent = 0xE0000FA3;

// Makes the name (16-bit text, copied) the one under which messages stand in the system's log. The
// second name is not used. Either may be null.
void SysLogInit(const unsigned short* name, const unsigned short* secondName);
void SysLogUninit();

// The message's format and, at *priority, the system's number for its severity; null for a number
// that no message has, with the priority all the same. The text lives as long as the program.
const char* LookupMessage(std::uint32_t id, int* priority);

// Writes the message with its arguments: to standard error, as a new Config has it, with a line
// feed after those that do not end with one. What is too long is cut; a number that no message has
// is logged itself.
void SysLogEvent(std::uint32_t id, ...) noexcept;

// The same as the configuration wants it: to standard error or to the system's log.
void SysLogEventWith(const Config& config, std::uint32_t id, std::va_list arguments) noexcept;

} // namespace Pt
