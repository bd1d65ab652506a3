#include "lexkit/ZString.h"

#include "core/strings/lexkit/DictionaryTexts.h"

#include <limits>

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

struct Change {
    const char16_t* before;
    const char16_t* after;
};

template <typename Operation>
void expectChanges(std::initializer_list<Change> rows, Operation operation)
{
    for (const Change& row : rows) {
        lexkit::ZString text = zstring(row.before);
        operation(text);
        EXPECT_EQ(textOf(text), row.after) << "from " << testing::PrintToString(row.before);
    }
}

TEST(ZStringTest, IsEmptyAtFirstAndAfterClear)
{
    lexkit::ZString text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetUnicodeSize(), 1u);
    text = zstring(u"x");
    EXPECT_FALSE(text.IsEmpty());
    text.Clear();
    EXPECT_TRUE(text.IsEmpty());
}

TEST(ZStringTest, ComparesTextsThatWereMadeApartByTheirUnits)
{
    EXPECT_EQ(zstring(u"text").CompareTo(zstring(u"text")), 0);
    EXPECT_TRUE(zstring(u"text") == zstring(u"text"));
    EXPECT_EQ(zstring(u"").CompareTo(lexkit::ZString()), 0);
    EXPECT_EQ(zstring(u"ab").CompareTo(zstring(u"ad")), -2);
    EXPECT_EQ(zstring(u"abc").CompareTo(zstring(u"a")), 2);
    EXPECT_EQ(zstring(u"").CompareTo(zstring(u"abc")), -3);
    // By code unit: a pair of surrogates comes before U+FF01.
    EXPECT_LT(zstring(u"\U0001F600"), zstring(u"\uFF01"));
}

TEST(ZStringTest, OrdersTexts)
{
    const auto a = zstring(u"a");
    const auto b = zstring(u"b");
    EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && a <= a && a >= a);
    EXPECT_FALSE(b < a || b <= a || a > b || a >= b || a == b || a != a);
}

TEST(ZStringTest, SharesItsTextWithCopiesUntilTheyChange)
{
    const lexkit::ZString first = zstring(u" text ");
    lexkit::ZString second(first);
    lexkit::ZString third;
    third = first;
    const unsigned short* units[3] = {};
    unsigned long length = 0;
    first.GetInternalData(&units[0], &length);
    second.GetInternalData(&units[1], &length);
    third.GetInternalData(&units[2], &length);
    EXPECT_EQ(units[0], units[1]);
    EXPECT_EQ(units[0], units[2]);
    second.TrimBlanks();
    EXPECT_EQ(textOf(first), u" text ");
    EXPECT_EQ(textOf(second), u"text");
}

TEST(ZStringTest, AssignsToItself)
{
    lexkit::ZString text = zstring(u"x");
    const lexkit::ZString& same = text;
    text = same;
    EXPECT_EQ(textOf(text), u"x");
}

TEST(ZStringTest, MovesAndTakesANewTextAfterwards)
{
    lexkit::ZString first = zstring(u"x");
    lexkit::ZString second(std::move(first));
    EXPECT_EQ(textOf(second), u"x");
    first = second; // NOLINT(bugprone-use-after-move): what a moved-from text is for
    EXPECT_EQ(textOf(first), u"x");
    lexkit::ZString third;
    third = std::move(second);
    EXPECT_EQ(textOf(third), u"x");
}

TEST(ZStringDeathTest, EndsTheProcessWhenAMovedFromTextIsAsked)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(
        {
            lexkit::ZString first = zstring(u"x");
            const lexkit::ZString second(std::move(first));
            unsigned const short* units = nullptr;
            unsigned long length = 0;
            first.GetInternalData(&units, &length); // NOLINT(bugprone-use-after-move)
        },
        "");
}

TEST(ZStringTest, ValidatesItself)
{
    lexkit::ZString text = zstring(u"x");
    EXPECT_NO_THROW(text.Validate());
    EXPECT_NO_THROW(lexkit::ZString().Validate());
    const lexkit::ZString taken(std::move(text));
    try {
        text.Validate(); // NOLINT(bugprone-use-after-move)
        FAIL() << "there is no text";
    } catch (const LXErrException& error) {
        EXPECT_EQ(error.code(), LXErrException::kBadParameter);
    }
}

TEST(ZStringTest, KnowsWhiteSpace)
{
    EXPECT_TRUE(zstring(u"").IsAllWhiteSpace());
    EXPECT_TRUE(
        zstring(u"\t\n\v\f\r \u00A0\u2000\u200B\u2028\u2029\u3000\uFEFF").IsAllWhiteSpace());
    for (const auto* const text : {u"x", u" x ", u"\u200C", u"\b", u"\u1FFF", u"\u000E"})
        EXPECT_FALSE(zstring(text).IsAllWhiteSpace()) << testing::PrintToString(text);
}

struct Number {
    const char16_t* text;
    long value;
    bool isNumber;
};

TEST(ZStringTest, ReadsIntegers)
{
    for (const Number& row : {Number{u"", 0, false},
             Number{u"-12", -12, true},
             Number{u"+", 0, true},
             Number{u"-", 0, true},
             Number{u"+7", 7, true},
             Number{u"007", 7, true},
             Number{u"1x2", 12, false},
             Number{u"--1", -1, false},
             Number{u"\u22125", 5, false},
             Number{u"\u0661\u0662\u0663", 123, true},
             Number{u"\uFF14\u00B2", 42, true}}) {
        long value = 99;
        EXPECT_EQ(zstring(row.text).ToInteger(value), row.isNumber)
            << testing::PrintToString(row.text);
        EXPECT_EQ(value, row.value) << testing::PrintToString(row.text);
    }
}

TEST(ZStringTest, WritesIntegers)
{
    for (const long number : {0l, 7l, -12l, std::numeric_limits<long>::min()}) {
        const lexkit::ZString text(number);
        const std::string digits = std::to_string(number);
        EXPECT_EQ(textOf(text), std::u16string(digits.begin(), digits.end()));
        long value = 1;
        EXPECT_TRUE(text.ToInteger(value));
        EXPECT_EQ(value, number);
    }
}

TEST(ZStringTest, TrimsBlanksAtBothEnds)
{
    expectChanges(
        {{u"  a b  ", u"a b"}, {u"   ", u""}, {u"", u""}, {u"a", u"a"}, {u"\ta ", u"\ta"}},
        [](auto& text) { text.TrimBlanks(); });
}

TEST(ZStringTest, TrimsOneEllipsis)
{
    expectChanges({{u"Open\u2026", u"Open"},
                      {u"Open...", u"Open"},
                      {u"...", u""},
                      {u"..", u".."},
                      {u"Open....", u"Open."},
                      {u"Open\u2026\u2026", u"Open\u2026"},
                      {u"Open..\u2026", u"Open.."},
                      {u"Open... ", u"Open... "},
                      {u"", u""}},
        [](auto& text) { text.TrimEllipsis(); });
}

TEST(ZStringTest, LeavesEllipsesOfTheHostAlone)
{
    expectChanges({{u"Open...", u"Open..."}, {u"\u2026", u"\u2026"}},
        [](auto& text) { text.EllipsisToHostEllipsis(); });
}

TEST(ZStringTest, RemovesTheExtension)
{
    expectChanges({{u"a.b.c", u"a.b"},
                      {u"abc", u"abc"},
                      {u".x", u""},
                      {u"a.", u"a"},
                      {u"a.b/c", u"a"},
                      {u"", u""}},
        [](auto& text) {
            const bool hasStop = textOf(text).find(u'.') != std::u16string::npos;
            EXPECT_EQ(text.RemoveExtension(), hasStop);
        });
}

TEST(ZStringTest, RemovesMarksOfAccelerators)
{
    expectChanges({{u"&File", u"File"},
                      {u"a&&b", u"a&b"},
                      {u"Save (&S)", u"Save "},
                      {u"R & D", u"R & D"},
                      {u"Open&", u"Open"},
                      {u"&", u""},
                      {u"&&", u"&"},
                      {u"&&&", u"&"},
                      {u"& ", u"& "},
                      {u"(&S", u"(S"},
                      {u"(ab)&c", u"(ab)c"},
                      {u"(&S]", u"(S]"},
                      {u"(&S)(&T)x", u"x"},
                      {u"(&&)x", u"x"},
                      {u"&(&S)a", u"a"},
                      {u"&(&S)&b", u"&b"},
                      {u"Copy \bCtrl+C", u"Copy"},
                      {u"&Copy \b&x", u"Copy"},
                      {u"Copy\b", u"Copy\b"},
                      {u"plain", u"plain"},
                      {u"", u""}},
        [](auto& text) { text.RemoveAccelerators(); });
}

TEST(ZStringTest, RemovesColonsAndLineFeeds)
{
    expectChanges({{u"a:b::c", u"a-b--c"}, {u"", u""}},
        [](auto& text) { text.RemoveBadFilenameCharacters(); });
    expectChanges({{u"a\nb\r\n", u"a\rb\r\r"}, {u"", u""}},
        [](auto& text) { text.ChangeNewLineCharacter(); });
}

TEST(ZStringTest, ReplacesPlaceholders)
{
    expectChanges({{u"a^1b^2", u"axb^2"},
                      {u"^1", u"x"},
                      {u"^1^1", u"xx"},
                      {u"^^1", u"^x"},
                      {u"^1^", u"x^"},
                      {u"^a^1", u"^ax"},
                      {u"1^", u"1^"},
                      {u"", u""}},
        [](auto& text) { text.Replace(1, zstring(u"x")); });
    expectChanges({{u"a^0b", u"ab"}}, [](auto& text) { text.Replace(0, lexkit::ZString()); });
    expectChanges({{u"a^:b", u"a!b"}}, [](auto& text) { text.Replace(10, zstring(u"!")); });
    expectChanges({{u"a^1b", u"a^1b"}}, [](auto& text) { text.Replace(1, zstring(u"^1")); });
}

TEST(ZStringTest, ReplacesByItself)
{
    lexkit::ZString text = zstring(u"<^1>");
    text.Replace(1, text);
    EXPECT_EQ(textOf(text), u"<<^1>>");
}

TEST(ZStringTest, TellsWhetherItWillReplace)
{
    EXPECT_TRUE(zstring(u"a^1").WillReplace(1));
    EXPECT_FALSE(zstring(u"a^1").WillReplace(2));
    EXPECT_FALSE(zstring(u"1^").WillReplace(1));
    EXPECT_FALSE(zstring(u"").WillReplace(1));
}

TEST(ZStringTest, IsMadeFromTextsOfManyKinds)
{
    lexkit::ZString text;
    text.MakeFromUnicode(terminated(u"wide text").data(), 4);
    EXPECT_EQ(textOf(text), u"wide");
    text.AssignUnicode(terminated(u"wide text").data());
    EXPECT_EQ(textOf(text), u"wide text");
    text.MakeFromCString("\xC3\xA9x", 2, &kUTF8);
    EXPECT_EQ(textOf(text), u"\u00E9");
    text.AssignCString("\xC3\xA9x", &kUTF8);
    EXPECT_EQ(textOf(text), u"\u00E9x");
    const unsigned char pascal[] = {3, 'a', 'b', 'c', 'd'};
    text.MakeFromPascalString(pascal, 4, &kUTF8);
    EXPECT_EQ(textOf(text), u"abcd");
    text.AssignPascalString(pascal, &kUTF8);
    EXPECT_EQ(textOf(text), u"abc");
    const unsigned char bytes[] = {0xE6, 0xBC, 0xA2};
    EXPECT_EQ(textOf(lexkit::ZString(bytes, 3, &kUTF8)), u"\u6F22");
    EXPECT_TRUE(lexkit::ZString(bytes, 0, &kUTF8).IsEmpty());
}

TEST(ZStringTest, ReadsOutUnits)
{
    const lexkit::ZString text = zstring(u"abc");
    EXPECT_EQ(text.GetUnicodeSize(), 4u);
    unsigned short buffer[5] = {9, 9, 9, 9, 9};
    text.GetUnicode(buffer, 4, true);
    EXPECT_EQ(textOf(buffer, 5), std::u16string(u"abc\0\x0009", 5));
}

TEST(ZStringTest, CutsUnitsThatDoNotFit)
{
    const lexkit::ZString text = zstring(u"abc");
    unsigned short buffer[4] = {9, 9, 9, 9};
    text.GetUnicode(buffer, 1, false);
    EXPECT_EQ(textOf(buffer, 2), std::u16string(u"\0\x0009", 2));
    EXPECT_THROW(text.GetUnicode(buffer, 3, true), LXErrException);
    EXPECT_EQ(textOf(buffer, 4), std::u16string(u"ab\0\x0009", 4));
    text.GetUnicode(nullptr, 0, false);
    EXPECT_THROW(text.GetUnicode(nullptr, 10, true), LXErrException);
    EXPECT_THROW(text.GetUnicode(buffer, 0, true), LXErrException);
    EXPECT_EQ(buffer[0], u'a');
}

TEST(ZStringTest, ReadsOutBytes)
{
    const lexkit::ZString text = zstring(u"a\u00E9");
    EXPECT_EQ(text.GetCStringSize(&kUTF8), 4u);
    EXPECT_EQ(text.GetPascalStringSize(&kUTF8), 4u);
    char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
    text.GetCString(buffer, 4, true, &kUTF8);
    EXPECT_EQ(std::string(buffer, 5), std::string("a\xC3\xA9\0x", 5));
    unsigned char pascal[5] = {9, 9, 9, 9, 9};
    text.GetPascalString(pascal, 4, true, &kUTF8);
    EXPECT_EQ(std::string(pascal, pascal + 5),
        "\x03"
        "a\xC3\xA9\x09");
    EXPECT_EQ(lexkit::ZString().GetCStringSize(&kUTF8), 1u);
}

TEST(ZStringTest, CutsBytesThatDoNotFitAtAWholeCharacter)
{
    const lexkit::ZString text = zstring(u"a\u00E9");
    char buffer[4] = {'x', 'x', 'x', 'x'};
    text.GetCString(buffer, 3, false, &kUTF8);
    EXPECT_STREQ(buffer, "a");
    EXPECT_THROW(text.GetCString(buffer, 3, true, &kUTF8), LXErrException);
    EXPECT_THROW(text.GetCString(nullptr, 9, true, &kUTF8), LXErrException);
    EXPECT_NO_THROW(text.GetCString(nullptr, 9, false, &kUTF8));
    unsigned char pascal[4] = {};
    text.GetPascalString(pascal, 3, false, &kUTF8);
    EXPECT_EQ(pascal[0], 1);
    EXPECT_THROW(text.GetPascalString(pascal, 3, true, &kUTF8), LXErrException);
}

TEST(ZStringTest, HoldsAtMost255BytesInAPascalString)
{
    std::vector<unsigned char> buffer(400);
    zstring(std::u16string(255, u'x')).GetPascalString(buffer.data(), 400, true, &kUTF8);
    EXPECT_EQ(buffer[0], 255);
    const lexkit::ZString longer = zstring(std::u16string(256, u'x'));
    EXPECT_THROW(longer.GetPascalString(buffer.data(), 400, true, &kUTF8), LXErrException);
    EXPECT_EQ(buffer[0], 255);
}

TEST(ZStringTest, HasNoDataWhenItIsEmpty)
{
    const unsigned short unit = u'x';
    const unsigned short* units = &unit;
    unsigned long length = 9;
    zstring(u"").GetInternalData(&units, &length);
    EXPECT_EQ(units, nullptr);
    EXPECT_EQ(length, 0u);
}

} // namespace
