// What is wrong with a command line, for people in their language. The parser's own messages are
// English. A free function without state.
#pragma once

#include <string>

namespace mfx {

// The parser's message in the user's language. A message of a form that is not known here stays as
// it is.
std::string usageText(const std::string& message);

} // namespace mfx
