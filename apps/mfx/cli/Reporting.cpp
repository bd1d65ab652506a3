#include "mfx/cli/Reporting.h"

namespace mfx {

void printMessage(const std::string& text)
{
    commandline::printMessage("mfx", text);
}

} // namespace mfx
