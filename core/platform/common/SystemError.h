#pragma once

#include <string>

namespace Pt {

// The system's text for an error number, never empty. Any thread.
std::string systemErrorText(int error);

} // namespace Pt
