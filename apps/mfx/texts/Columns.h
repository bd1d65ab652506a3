// How wide a text is on a terminal: letters of several bytes, letters that stand on the one before,
// and those of East Asia that take two columns. Free functions without state; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mfx {

// Columns that a line of UTF-8 takes. A byte that is no UTF-8 counts as one.
std::size_t columnsOf(std::string_view text);

// The text with exactly that many columns: cut between letters, filled up with blanks.
std::string fittedTo(std::string_view text, std::size_t columns);

} // namespace mfx
