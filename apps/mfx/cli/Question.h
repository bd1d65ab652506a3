// A question to the person at the terminal.
#pragma once

#include "mfx/engine/sink/DownloadEvents.h"

#include <string>

namespace mfx {

// How questions are answered.
enum class Answering {
    kAsk, // at the terminal; no where there is none
    kYes, // the user said so beforehand
};

// Blocks until an answer, an interrupt (no) or the end of input (no). Takes the words of the user's
// language; y, yes, n and no in every language. The last line of the question is the prompt; those
// before it are told first.
Answer askYesOrNo(const std::string& question, Answering answering);

} // namespace mfx
