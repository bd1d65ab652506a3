// A question to the person at the terminal.
#pragma once

#include <string>

namespace mfx {

// How questions are answered.
enum class Answering {
    kAsk, // at the terminal; no where there is none
    kYes, // the user said so beforehand
};

// Blocks until an answer, an interrupt (no) or the end of input (no). Takes the words of the user's
// language; y, yes, n and no in every language.
bool askYesOrNo(const std::string& question, Answering answering);

} // namespace mfx
