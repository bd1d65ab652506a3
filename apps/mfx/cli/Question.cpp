#include "mfx/cli/Question.h"

#include "commandline/NameText.h"
#include "mfx/cli/Reporting.h"
#include "platform/common/ProgramEnvironment.h"

#include <cstdio>
#include <iostream>

namespace mfx {

using namespace commandline;

bool askYesOrNo(const std::string& text, Answering answering)
{
    if (answering == Answering::kYes)
        return true;
    if (!Pt::isTerminal(stdin) || !Pt::isTerminal(stderr)) {
        printMessage("nothing is deleted: there is nobody to ask (--yes answers beforehand)");
        return false;
    }
    for (;;) {
        std::fprintf(stderr, "%s [y/N] ", terminalText(text).c_str());
        std::string answer;
        if (Pt::wasInterrupted() || !std::getline(std::cin, answer) || Pt::wasInterrupted())
            return false;
        if (answer == "y" || answer == "Y" || answer == "yes")
            return true;
        if (answer.empty() || answer == "n" || answer == "N" || answer == "no")
            return false;
    }
}

} // namespace mfx
