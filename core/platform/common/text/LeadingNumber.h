#pragma once

namespace Pt {

// The number that a text begins with, as strtod reads it where the locale is "C": blanks first, a
// sign, decimal or hexadecimal, "inf" and "nan"; what is too large is infinite. 0 for a text that
// begins otherwise. Any thread, in every locale.
double leadingNumber(const char* text);

} // namespace Pt
