#pragma once

#include <string>
#include <system_error>

namespace Pt {

// The system's text for an error number, never empty. Any thread.
std::string systemErrorText(int error);

// The error of the last system call in this thread.
std::error_code lastSystemError();

} // namespace Pt
