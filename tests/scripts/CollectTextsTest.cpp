// scripts/collect-texts: the English dictionary out of the sources.

#include "core/strings/lexkit/DictionaryTexts.h"
#include "scripts/ScriptTree.h"

#include <fstream>
#include <ostream>

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

class CollectTextsTest : public testing::Test {
protected:
    // What the script prints for this one source file.
    std::string collected(const std::string& source)
    {
        m_tree.write("core/Source.cpp", source);
        const test::ScriptEnd end = m_tree.run("collect-texts");
        EXPECT_EQ(end.code, 0) << end.err;
        return end.out;
    }

    test::ScriptEnd refused(const std::string& source)
    {
        m_tree.write("core/Source.cpp", source);
        test::ScriptEnd end = m_tree.run("collect-texts");
        EXPECT_EQ(end.code, 3);
        EXPECT_EQ(end.out, "");
        return end;
    }

    test::ScriptTree m_tree;
};

// Each byte as an escape of three octal digits.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        for (const int shift : {6, 3, 0})
            result += (shift == 6 ? "\\" : "") + std::to_string(byte >> shift & 7);
    }
    return result;
}

std::string utf8Of(const lexkit::ZString& text)
{
    std::string bytes(text.GetCStringSize(&lexkit_test::kUTF8), '\0');
    text.GetCString(bytes.data(), bytes.size(), true, &lexkit_test::kUTF8);
    return bytes.c_str();
}

struct Spelling {
    const char* name;
    const char* source;
    const char* line;
};

void PrintTo(const Spelling& row, std::ostream* out)
{
    *out << row.name;
}

class CollectTextsSpellingTest : public CollectTextsTest,
                                 public testing::WithParamInterface<Spelling> { };

constexpr Spelling kSpellings[] = {
    {"Plain", R"(f("$$$/A/B=Text");)", R"("$$$/A/B=Text")"},
    {"EqualsInTheText", R"(f("$$$/A/B=a=b");)", R"("$$$/A/B=a=b")"},
    {"EmptyText", R"(f("$$$/A/B=");)", R"("$$$/A/B=")"},
    {"Utf16WithSuffix", R"(f(u"$$$/A/B=Text"_s);)", R"("$$$/A/B=Text")"},
    {"Utf8AndWide", R"(f(u8"$$$/A/B=a", L"$$$/A/C=b");)", "\"$$$/A/B=a\"\n\"$$$/A/C=b\""},
    {"Pieces",
        "f(u\"$$$/A/B=one \"\n  // between\n  \"two \" /* \"no\" */ u\"three\"_s);",
        R"("$$$/A/B=one two three")"},
    {"KeyInPieces", R"(f("$$$/A/" "B=Text");)", R"("$$$/A/B=Text")"},
    {"Raw", "f(R\"x($$$/A/B=a \\n \" )\" b)x\");", R"("$$$/A/B=a \\n \" )\" b")"},
    {"RawAndPlain", "f(R\"($$$/A/B=a\\)\" \"\\tb\"_s);", R"("$$$/A/B=a\\\tb")"},
    {"Escapes", R"(f("$$$/A/B=\"q\" \\ \n\t\x41\102\?");)", R"("$$$/A/B=\"q\" \\ \n\tAB?")"},
    {"HexEndsWithThePiece", R"(f("$$$/A/B=\x41" "42");)", R"("$$$/A/B=A42")"},
    {"BytesOfUtf8", R"(f("$$$/A/B=\xC3\xA9");)", "\"$$$/A/B=é\""},
    {"UnitsOfUtf16", R"(f(u"$$$/A/B=\xE9");)", "\"$$$/A/B=é\""},
    {"PrefixHoldsForAllPieces", R"(f(u"$$$/A/B=" "\xE9");)", "\"$$$/A/B=é\""},
    {"Universal", R"(f("$$$/A/B=\u00e9\U0001F600");)", "\"$$$/A/B=é😀\""},
    {"UniversalInUtf16", R"(f(u"$$$/A/B=\u00e9\U0001F600");)", "\"$$$/A/B=é😀\""},
    {"SourceCharacters", "f(\"$$$/A/B=日本\");", "\"$$$/A/B=日本\""},
    {"LineGoesOn", "f(\"$$$/A/B=on\\\ne\");", R"("$$$/A/B=one")"},
    {"TableOfPointers",
        R"(char const* const k[] = {"$$$/A/B=b", "$$$/A/C=c"};)",
        "\"$$$/A/B=b\"\n\"$$$/A/C=c\""},
    {"BehindACharacterQuote", R"(f('"', "$$$/A/B=Text", '\'');)", R"("$$$/A/B=Text")"},
    {"BehindMarkedDigits", R"(f(1'0, "$$$/A/B=Text", 0x1'F, 'x');)", R"("$$$/A/B=Text")"},
    {"BehindAnApostrophe", "#error don't\nf(\"$$$/A/B=Text\");", R"("$$$/A/B=Text")"},
    {"CommentSignsInText", R"(f("$$$/A/B=// a /* b */");)", R"("$$$/A/B=// a /* b */")"},
    {"BehindCommentSignsInText", R"(f("/*", "$$$/A/B=Text", "*/");)", R"("$$$/A/B=Text")"},
    {"SameTextTwice", R"(f("$$$/A/B=Text"); g(u"$$$/A/B=Text");)", R"("$$$/A/B=Text")"},
    {"HatsAndReferences",
        R"(f("$$$/A/B=^Q ^^ #{amp} # ^1");)",
        R"("$$$/A/B=^^Q ^^^^ #{U+0023}{amp} # ^1")"},
    {"BackslashAtTheEnd", R"(f("$$$/A/B=C:\\");)", R"("$$$/A/B=C:#{U+005C}")"},
};

} // namespace

TEST_P(CollectTextsSpellingTest, GivesTheLine)
{
    EXPECT_EQ(collected(GetParam().source), GetParam().line + std::string("\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, CollectTextsSpellingTest, testing::ValuesIn(kSpellings), [](const auto& row) {
        return std::string(row.param.name);
    });

TEST_F(CollectTextsTest, PassesOverWhatIsNoText)
{
    EXPECT_EQ(collected(R"(// f("$$$/A/Line=no");
        // goes on \
        f("$$$/A/GoesOn=no");
        /* f("$$$/A/Block=no");
           f("$$$/A/Block2=no"); */
        f("such as $$$/A/Inside=no", "$$$/A/WithoutText", "$$$x=no", "$$/A/Two=no");
        f("\xFF\0");
        f("$$$/A/Yes=Text");
    )"),
        "\"$$$/A/Yes=Text\"\n");
}

TEST_F(CollectTextsTest, ReadsSourcesAndHeadersOfAllRoomsAndNothingElse)
{
    m_tree.write("core/deep/er/A.h", R"(auto a = "$$$/A/Header=a";)");
    m_tree.write("apps/mfx/B.cpp", R"(auto b = "$$$/A/App=b";)");
    m_tree.write("modules/C.inc", R"("$$$/A/Module=c",)");
    m_tree.write("tests/core/D.cpp", R"(auto d = "$$$/A/Test=d";)");
    m_tree.write("core/notes.md", R"(auto e = "$$$/A/Page=e";)");
    const test::ScriptEnd end = m_tree.run("collect-texts");
    EXPECT_EQ(end.out, "\"$$$/A/App=b\"\n\"$$$/A/Header=a\"\n\"$$$/A/Module=c\"\n");
    EXPECT_EQ(end.code, 0) << end.err;
}

TEST_F(CollectTextsTest, SortsByKeyWithAnEmptyLineBetweenAreas)
{
    EXPECT_EQ(
        collected(
            R"(f("$$$/Mfx/B/A=4", "$$$/Z/A=5", "$$$/Mfx/A/B=3", "$$$/A/b=2", "$$$/A/B/C=1");)"),
        "\"$$$/A/B/C=1\"\n\"$$$/A/b=2\"\n\n\"$$$/Mfx/A/B=3\"\n\n\"$$$/Mfx/B/A=4\"\n\n\"$$$/Z/"
        "A=5\"\n");
}

TEST_F(CollectTextsTest, NamesBothPlacesOfAKeyWithTwoTexts)
{
    m_tree.write("apps/B.cpp", "\n\nf(\"$$$/A/B=other\");");
    const std::string error = refused("\nf(\"$$$/A/B=one\");").err;
    EXPECT_THAT(error, HasSubstr("core/Source.cpp:2"));
    EXPECT_THAT(error, HasSubstr("apps/B.cpp:3"));
    EXPECT_THAT(error, HasSubstr("/A/B"));
}

TEST_F(CollectTextsTest, NamesThePlaceOfWhatItCannotRead)
{
    EXPECT_THAT(refused("\nf(\"$$$/A/B=open\n);").err, HasSubstr("core/Source.cpp:2"));
    EXPECT_THAT(refused("/*\n*/ f(\"$$$/A/B=a\" PRIu64);").err, HasSubstr("Source.cpp:2: /A/B"));
    EXPECT_THAT(refused(R"(f("$$$/A B=a");)").err, HasSubstr("Source.cpp:1"));
    EXPECT_THAT(refused(R"(f("$$$/A/B=a\q");)").err, HasSubstr("Source.cpp:1"));
    EXPECT_THAT(refused(R"(f("$$$/A/B=a\0");)").err, HasSubstr("Source.cpp:1"));
    EXPECT_THAT(refused(R"(f("$$$/A/B=\xE9");)").err, HasSubstr("Source.cpp:1"));
    EXPECT_THAT(refused("f(\"\xE9\");").err, HasSubstr("core/Source.cpp"));
    EXPECT_THAT(refused("int main();").err, HasSubstr("no texts"));
}

TEST_F(CollectTextsTest, WritesWhatAReaderTurnsBackIntoTheText)
{
    const std::string texts[] = {"\"quoted\" \\ back\\slash\\\\",
        "\\\"",
        "line\nnext\r\t\b",
        "^Q ^^ ^ ^1 ^^1 ^e ^",
        "#{amp} #{ #{U+0041} \\#{e9} #",
        "\\n ^{ ends in \\",
        "\u2028\u2029\u00A0\U0001F600",
        " blanks "};
    std::string source;
    for (const std::string& text : texts)
        source += "f(\"$$$/A/" + std::to_string(&text - texts) + "=" + escaped(text) + "\");\n";
    m_tree.write("core/Source.cpp", source);
    m_tree.write(test::ScriptTree::dictionary("en_us"), "");
    const test::ScriptEnd end = m_tree.run("collect-texts --write");
    ASSERT_EQ(end.code, 0) << end.err;

    lexkit::Dictionary dictionary;
    std::ifstream file(m_tree.path(test::ScriptTree::dictionary("en_us")), std::ios::binary);
    dictionary.Read(&file);
    EXPECT_TRUE(dictionary.IsValid());
    EXPECT_EQ(dictionary.NumKeys(), std::size(texts));
    for (const std::string& text : texts) {
        const std::string literal = "$$$/A/" + std::to_string(&text - texts) + "=(missing)";
        EXPECT_EQ(utf8Of(dictionary.Lookup(literal.c_str(), nullptr)), text);
    }
}

TEST_F(CollectTextsTest, WritesUtf16WithAMark)
{
    m_tree.write("core/Source.cpp", "f(\"$$$/A/B=é😀\");");
    m_tree.write(test::ScriptTree::dictionary("en_us"), "old");
    EXPECT_EQ(m_tree.run("collect-texts --write").code, 0);
    EXPECT_EQ(test::read(m_tree.path(test::ScriptTree::dictionary("en_us"))),
        test::utf16File(u"\"$$$/A/B=é😀\"\n"));
}

TEST_F(CollectTextsTest, ChecksWhetherTheFileIsUpToDate)
{
    m_tree.write("core/Source.cpp", R"(f("$$$/A/Gone=a", "$$$/A/Kept=b", "$$$/A/Other=c");)");
    m_tree.write(test::ScriptTree::dictionary("en_us"), "");
    ASSERT_EQ(m_tree.run("collect-texts --write").code, 0);
    const test::ScriptEnd same = m_tree.run("collect-texts --check");
    EXPECT_EQ(same.code, 0);
    EXPECT_EQ(same.err, "");

    m_tree.write("core/Source.cpp", R"(f("$$$/A/Kept=b", "$$$/A/Fresh=d", "$$$/A/Other=e");)");
    const test::ScriptEnd differs = m_tree.run("collect-texts --check");
    EXPECT_EQ(differs.code, 1);
    EXPECT_THAT(differs.err, HasSubstr("/A/Gone is not used any more"));
    EXPECT_THAT(differs.err, HasSubstr("/A/Fresh is missing"));
    EXPECT_THAT(differs.err, HasSubstr("/A/Other is \"c\" and should be \"e\""));
    EXPECT_THAT(differs.err, Not(HasSubstr("/A/Kept")));
}

TEST_F(CollectTextsTest, RefusesArgumentsThatItDoesNotKnow)
{
    EXPECT_EQ(m_tree.run("collect-texts --wrote").code, 2);
    EXPECT_EQ(m_tree.run("collect-texts --write --check").code, 2);
}

TEST_F(CollectTextsTest, LeavesNothingBehindWhereItCannotWrite)
{
    m_tree.write("core/Source.cpp", R"(f("$$$/A/B=Text");)");
    std::filesystem::create_directories(m_tree.path(test::ScriptTree::dictionary("en_us")));
    EXPECT_EQ(m_tree.run("collect-texts --write").code, 3);
    const auto entries =
        std::filesystem::directory_iterator(m_tree.path("shared_assets/locales/en_us"));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}
