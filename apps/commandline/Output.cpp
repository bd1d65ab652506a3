#include "commandline/Output.h"

#include "commandline/NameText.h"

#include <cstdio>

namespace commandline {

void printMessage(std::string_view program, const std::string& text)
{
    std::fprintf(stderr,
        "%.*s: %s\n",
        static_cast<int>(program.size()),
        program.data(),
        terminalText(text).c_str());
}

void printLine(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

} // namespace commandline
