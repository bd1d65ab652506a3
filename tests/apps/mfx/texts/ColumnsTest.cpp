#include "mfx/texts/Columns.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

struct WidthCase {
    const char* name;
    const char* text;
    std::size_t columns;
};

constexpr WidthCase kWidths[] = {{"Nothing", "", 0},
    {"English", "50%, 3 of 7", 11},
    {"German", "Größe übrig", 11},
    {"Polish", "pozostało żółć", 14},
    {"Japanese", "残り時間", 8},
    {"JapaneseMarks", "（写真）、。", 12},
    {"Kana", "カード", 6},
    {"NarrowKana", "ｶｰﾄﾞ", 4},
    {"Korean", "사진", 4},
    {"Accent", "e\u0301", 1},
    {"Picture", "😀", 2},
    {"NoBreakSpace", "12\u202F%", 4},
    {"BrokenUtf8", "a\xFF\xC3", 3}};

TEST(ColumnsTest, CountsWhatATextTakesOnATerminal)
{
    for (const auto& [name, text, columns] : kWidths)
        EXPECT_EQ(columnsOf(text), columns) << name;
}

TEST(ColumnsTest, FitsATextIntoExactlySoManyColumns)
{
    for (const auto& [name, text, columns] : kWidths)
        for (std::size_t width = 0; width < 20; ++width)
            EXPECT_EQ(columnsOf(fittedTo(text, width)), width) << name;
    EXPECT_EQ(fittedTo("Größe", 7), "Größe  ");
    EXPECT_EQ(fittedTo("Größe", 3), "Grö");
    EXPECT_EQ(fittedTo("残り時間", 5), "残り ") << "half of a letter does not show";
    EXPECT_EQ(fittedTo("e\u0301x", 1), "e\u0301") << "a mark stays with its letter";
}

} // namespace
} // namespace mfx
