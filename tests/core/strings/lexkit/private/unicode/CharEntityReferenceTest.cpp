#include "lexkit/private/unicode/CharEntityReference.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using namespace lexkit_private;

struct Named {
    const char16_t* text;
    unsigned short value;
    unsigned long consumed; // 0: no reference
};

class CharEntityReferenceTest : public testing::TestWithParam<Named> { };

TEST_P(CharEntityReferenceTest, IsReadFromTheBeginningOfAText)
{
    const Named& row = GetParam();
    const Units text = units(row.text);
    const CharReference found = referenceAt(text.data(), text.size());
    EXPECT_EQ(found.consumed, row.consumed);
    EXPECT_EQ(found.value, row.value);
}

INSTANTIATE_TEST_SUITE_P(Rows,
    CharEntityReferenceTest,
    testing::Values(Named{u"#{endl}", 13, 7},
        Named{u"#{tab}", 9, 6},
        Named{u"#{cr}", 13, 5},
        Named{u"#{lf}", 10, 5},
        Named{u"#{nbsp}", 0xA0, 7},
        Named{u"#{Yuml}", 0x178, 7},
        Named{u"#{yuml}", 0xFF, 7},
        Named{u"#{frac34}", 0xBE, 9},
        Named{u"#{thetasym}", 0, 0},
        Named{u"#{euro}", 0x20AC, 7},
        Named{u"#{euro} and on", 0x20AC, 7},
        Named{u"#{plusm}", 0xB1, 8}));

INSTANTIATE_TEST_SUITE_P(RowsWithALengthOfTheirOwn,
    CharEntityReferenceTest,
    testing::Values(Named{u"#{yen}", 0, 0},
        Named{u"#{ouml}", 0, 0},
        Named{u"#{zwnj}", 0, 0},
        Named{u"#{plusmn}", 0, 0}));

INSTANTIATE_TEST_SUITE_P(Numbers,
    CharEntityReferenceTest,
    testing::Values(Named{u"#{U+00E9}", 0xE9, 9},
        Named{u"#{u00e9}", 0xE9, 8},
        Named{u"#{00E9}", 0xE9, 7},
        Named{u"#{e9}", 0xE9, 5},
        Named{u"#{abcd}", 0xABCD, 7},
        Named{u"#{a}", 10, 4},
        Named{u"#{0}", 0, 4},
        Named{u"#{12345}", 0, 0},
        Named{u"#{U+12345}", 0, 0},
        Named{u"#{}", 0, 0},
        Named{u"#{} }", 0, 0},
        Named{u"#{U+}", 0, 0},
        Named{u"#{u}", 0, 0},
        Named{u"#{U00E9}", 0, 0},
        Named{u"#{xyz}", 0, 0},
        Named{u"#{\u0161}", 0, 0}));

INSTANTIATE_TEST_SUITE_P(Beginnings,
    CharEntityReferenceTest,
    testing::Values(Named{u"#", 0, 0},
        Named{u"#{", 0, 0},
        Named{u"#{a", 0, 0},
        Named{u"#{ab", 0, 0},
        Named{u"#x", 0, 0},
        Named{u"#a}}", 0, 0},
        Named{u"#{euro", 0, 0},
        Named{u"#{euros}", 0, 0}));

// A name that begins a text ends the search, so no longer name is tried after it.
TEST(CharEntityReferenceTableTest, TriesNoLongerNameAfterAShorterOne)
{
    for (const auto* const name : {u"sup", u"cr", u"eta"}) {
        const Units text = units(name);
        const CharEntityReference* const row =
            FindCharEntityReferencePair(text.data(), text.size());
        EXPECT_EQ(row != nullptr, std::u16string_view(name) == u"cr");
    }
    // "not" stands before "notin" would: the text is no reference.
    const Units longer = units(u"#{notin}");
    EXPECT_EQ(referenceAt(longer.data(), longer.size()).consumed, 0u);
}

TEST(CharEntityReferenceTableTest, HasEveryNameOnceInSearchOrder)
{
    // Each name with the length that is stored for it finds its own row.
    const Units first = units(u"endl");
    const CharEntityReference* const table =
        FindCharEntityReferencePair(first.data(), first.size());
    for (std::size_t row = 0; row < 132; ++row) {
        Units name(table[row].name, table[row].name + table[row].length);
        EXPECT_EQ(FindCharEntityReferencePair(name.data(), name.size()), table + row)
            << table[row].name;
    }
}

} // namespace
