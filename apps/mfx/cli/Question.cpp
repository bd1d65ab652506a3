#include "mfx/cli/Question.h"

#include "mfx/cli/Reporting.h"
#include "mfx/texts/Texts.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/NameText.h"

#include <cstdio>
#include <iostream>
#include <optional>
#include <sstream>

namespace mfx {

using namespace commandline;

namespace {

// Whether the answer is one of the words, which commas separate.
bool isAmong(const std::string& words, const std::string& answer)
{
    std::istringstream list(words);
    for (std::string word; std::getline(list, word, ',');)
        if (Pt::equalIgnoringAsciiCase(word, answer))
            return true;
    return false;
}

// No is looked for first: no language's word for yes may hide an English no.
std::optional<bool> meaningOf(const std::string& answer)
{
    if (answer.empty() || isAmong("n,no", answer)
        || isAmong(text("$$$/Mfx/Question/NoWords=n,no"), answer))
        return false;
    if (isAmong("y,yes", answer) || isAmong(text("$$$/Mfx/Question/YesWords=y,yes"), answer))
        return true;
    return std::nullopt;
}

bool promptFor(const std::string& line)
{
    for (;;) {
        const std::string prompt =
            text("$$$/Mfx/Question/Prompt=%1 [y/N]", {Pt::terminalText(line)});
        std::fprintf(stderr, "%s ", prompt.c_str());
        std::string answer;
        // An interrupt is an answer, too.
        if (!Pt::waitForInput(stdin) || !std::getline(std::cin, answer) || Pt::wasInterrupted())
            return false;
        if (const auto meaning = meaningOf(answer))
            return *meaning;
    }
}

void printLines(const std::string& lines)
{
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        printMessage(line);
}

} // namespace

// An answer that nobody could read as the one that was meant deletes nothing: end of input, a
// signal and an empty line are all no, and anything else is asked again.
Answer askYesOrNo(const std::string& question, Answering answering)
{
    if (answering == Answering::kYes)
        return Answer::kYes;
    // Both ends have to be a person's: a script may have the terminal for its input and none for
    // the question.
    if (!Pt::isTerminal(stdin) || !Pt::isTerminal(stderr)) {
        printMessage(text("$$$/Mfx/Question/NobodyToAsk=nothing is deleted: there is nobody to ask "
                          "(--yes answers beforehand)"));
        return Answer::kNobody;
    }
    const std::size_t lastLine = question.rfind('\n') + 1; // npos + 1 is the beginning
    printLines(question.substr(0, lastLine));
    return promptFor(question.substr(lastLine)) ? Answer::kYes : Answer::kNo;
}

} // namespace mfx
