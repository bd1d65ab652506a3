#include "mfx/cli/Reporting.h"

#include "mfx/engine/NameText.h"

#include <cstdio>

namespace mfx {

void printMessage(const std::string& text)
{
    std::fprintf(stderr, "mfx: %s\n", terminalText(text).c_str());
}

void printLine(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

} // namespace mfx
