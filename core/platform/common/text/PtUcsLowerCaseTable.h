#pragma once

#include <cstddef>

// The table behind ptucslowerCase: kUcsLowerCaseRows rows sorted by their upper-case unit, then a
// row of zeros. PtUcsLowerCaseTable.inc is made by scripts/make-lower-case-table. Constant.
struct PtUcsCaseRow {
    unsigned short upper;
    unsigned short lower;
};

inline constexpr std::size_t kUcsLowerCaseRows = 673;

extern const PtUcsCaseRow gUcsUpperToLowerCase[kUcsLowerCaseRows + 1];
