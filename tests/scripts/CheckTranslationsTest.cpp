// scripts/check-translations: every fault that it is there for, in a tree that has no other one;
// and the tree that we ship.

#include "scripts/ScriptTree.h"

#include <algorithm>
#include <ostream>

#include <gmock/gmock.h>

namespace {

using test::ScriptTree;
using testing::HasSubstr;

constexpr char kSource[] = R"cpp(
    f("$$$/App/Brace=#{amp} stays", "$$$/App/Count=%1 photos to %2", "$$$/App/Hats=^0 of ^1");
    f("$$$/App/Save=&Save", "$$$/App/Stop=S&top", "$$$/App/To=copied to ");
    f("$$$/App/Wait=Please wait...", "$$$/App/Share=%1 / %2", "$$$/App/Both=Salt &&pepper");
    f("$$$/App/Usage=mfx --only with {date:%Y-%m} or %%");
    f("$$$/PtZString/OK=OK", "$$$/AppUtils/VelmoDefaultlanguageMac=/Path/File.txt");
)cpp";

constexpr char16_t kGerman[] = uR"dct("$$$/App/Both=Salz && Pfeffer"
"$$$/App/Brace=#{U+0023}{amp} bleibt"
"$$$/App/Count=nach %2: %1 Fotos"
"$$$/App/Hats=^0 von ^1"
"$$$/App/Save=&Speichern"
"$$$/App/Share=%1 / %2"
"$$$/App/Stop=An&halten"
"$$$/App/To=kopiert nach "
"$$$/App/Usage=mfx --only mit {date:%Y-%m} oder %%"
"$$$/App/Wait=Bitte warten..."

"$$$/AppUtils/VelmoDefaultlanguageMac=/Path/File.txt"

"$$$/PtZString/OK=OK"
)dct";

class CheckTranslationsTest : public testing::Test {
protected:
    CheckTranslationsTest()
    {
        m_tree.write("core/Source.cpp", kSource);
        m_tree.write(ScriptTree::dictionary("en_us"), "");
        EXPECT_EQ(m_tree.run("collect-texts --write").code, 0);
        writeGerman(test::utf16File(kGerman));
    }

    void writeGerman(const std::string& bytes)
    {
        m_tree.write(ScriptTree::dictionary("de_de"), bytes);
    }

    // There is this one fault and no other.
    void expectFault(const std::string& what) const
    {
        const test::ScriptEnd end = m_tree.run("check-translations");
        EXPECT_EQ(end.code, 1);
        EXPECT_THAT(end.err, HasSubstr(what));
        EXPECT_EQ(std::count(end.err.begin(), end.err.end(), '\n'), 1) << end.err;
        EXPECT_THAT(end.err, testing::StartsWith(ScriptTree::dictionary("de_de") + ":"));
    }

    ScriptTree m_tree;
};

struct Fault {
    const char* name;
    const char16_t* right;
    const char16_t* wrong;
    const char* told;
};

void PrintTo(const Fault& row, std::ostream* out)
{
    *out << row.name;
}

class CheckTranslationsFaultTest : public CheckTranslationsTest,
                                   public testing::WithParamInterface<Fault> { };

constexpr Fault kFaults[] = {
    {"MissingKey", u"\"$$$/App/To=kopiert nach \"\n", u"", "/App/To is missing"},
    {"UnknownKey", u"An&halten\"\n", u"An&halten\"\n\"$$$/App/Stp=a\"\n", "/App/Stp: no source"},
    {"KeyTwice",
        u"An&halten\"\n",
        u"An&halten\"\n\"$$$/App/Stop=H&alt\"\n",
        "/App/Stop: stands twice"},
    {"OtherOrder",
        u"\"$$$/App/Save=&Speichern\"\n\"$$$/App/Share=%1 / %2\"\n",
        u"\"$$$/App/Share=%1 / %2\"\n\"$$$/App/Save=&Speichern\"\n",
        "/App/Share: stands where /App/Save should"},
    {"MissingPlaceholder", u"%1 Fotos", u"Fotos", "'%2', and the English text has '%1 %2'"},
    {"OtherPlaceholder", u"%1 Fotos", u"%3 Fotos", "'%2 %3'"},
    {"PlaceholderTwice", u"%1 Fotos", u"%1 %1 Fotos", "'%1 %1 %2'"},
    {"PlaceholderOfTwoDigits", u"%1 Fotos", u"%12 Fotos", "'%12 %2'"},
    {"HatPlaceholderGone", u"^0 von", u"von", "'^1', and the English text has '^0 ^1'"},
    {"HatPlaceholderMore", u"von ^1", u"von ^1 ^2", "'^0 ^1 ^2'"},
    {"ReferenceGone", u"#{U+0023}{amp}", u"&", "'', and the English text has '#{ {amp}'"},
    {"ReferenceMore", u"Bitte warten", u"Bitte#{nbsp}warten", "'#{', and the English text has ''"},
    {"OptionTranslated", u"--only", u"--nur", "has the placeholders '%% --nur {date:%Y-%m}'"},
    {"FieldTranslated", u"{date:%Y-%m}", u"{datum:%Y-%m}", "'%% --only {datum:%Y-%m}'"},
    {"DateLetterTranslated", u"%Y", u"%J", "'%% --only {date:%J-%m}'"},
    {"PercentSignHalved", u"%%", u"%", "'--only {date:%Y-%m}'"},
    {"NameTranslated", u"=mfx", u"=MFX", "has the names '', and the English text has 'mfx'"},
    {"MnemonicGone", u"&Speichern", u"Speichern", "/App/Save: has 0 letters marked"},
    {"MnemonicMore", u"kopiert nach", u"&kopiert nach", "/App/To: has 1 letters marked"},
    {"MnemonicTwice", u"&Speichern", u"&Sp&eichern", "/App/Save: has 2 letters marked"},
    {"MnemonicTaken", u"An&halten", u"An&Sich", "/App/Stop: marks S by \"&\" as /App/Save does"},
    {"BlankGone", u"nach \"", u"nach\"", "/App/To: ends with other blanks"},
    {"BlankMore", u"=kopiert", u"= kopiert", "/App/To: begins with other blanks"},
    {"OtherBlank", u"nach \"", u"nach\u00A0 \"", "/App/To: ends with other blanks"},
    {"EllipsisGone", u"warten...", u"warten", "/App/Wait: ends with \"...\""},
    {"EllipsisMore", u"Pfeffer", u"Pfeffer...", "/App/Both: ends with \"...\""},
    {"EmptyText", u"Bitte warten...", u"", "/App/Wait: the text is empty"},
    {"BlankText", u"Bitte warten...", u"  ", "/App/Wait: the text is empty"},
    {"English", u"Bitte warten...", u"Please wait...", "/App/Wait: is not translated"},
    {"PathTranslated", u"/Path/File.txt", u"/Pfad/Datei.txt", "must be \"/Path/File.txt\""},
    {"Remark", u"\"$$$/PtZString/OK=OK\"", u"// last\n\"$$$/PtZString/OK=OK\"", ":14: is not"},
    {"NoLastLineEnd", u"OK=OK\"\n", u"OK=OK\"", "the last line has no line end"},
};

} // namespace

TEST_F(CheckTranslationsTest, FindsNoFaultWhereThereIsNone)
{
    const test::ScriptEnd end = m_tree.run("check-translations");
    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.err, "");
}

TEST_P(CheckTranslationsFaultTest, IsToldWithFileAndKey)
{
    std::u16string text = kGerman;
    const std::u16string right = GetParam().right;
    ASSERT_NE(text.find(right), text.npos);
    text.replace(text.find(right), right.size(), GetParam().wrong);
    writeGerman(test::utf16File(text));
    expectFault(GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, CheckTranslationsFaultTest, testing::ValuesIn(kFaults), [](const auto& row) {
        return std::string(row.param.name);
    });

class CheckTranslationsLineTest : public CheckTranslationsTest,
                                  public testing::WithParamInterface<std::u16string> { };

// A line that is none: its key is missing besides.
TEST_P(CheckTranslationsLineTest, IsToldWithItsNumber)
{
    const std::u16string text = kGerman;
    writeGerman(test::utf16File(text.substr(0, text.find(u"\"$$$/PtZ")) + GetParam() + u"\n"));
    const test::ScriptEnd end = m_tree.run("check-translations");
    EXPECT_EQ(end.code, 1);
    const std::string file = ScriptTree::dictionary("de_de");
    EXPECT_THAT(end.err, testing::StartsWith(file + ":14: "));
    EXPECT_THAT(end.err, testing::EndsWith(file + ": /PtZString/OK is missing\n"));
}

INSTANTIATE_TEST_SUITE_P(Lines,
    CheckTranslationsLineTest,
    testing::Values(u"$$$/PtZString/OK=OK",
        u"\"$$/PtZString/OK=OK\"",
        u"\"/PtZString/OK=OK\"",
        u"\"$$$/PtZString/OK\"",
        u"\"$$$/PtZString/OK=OK",
        u"\"$$$/PtZString/OK=OK\\\"",
        u"\"$$$/PtZString/OK=\"OK\"\"",
        u"\"$$$/PtZString/OK=OK\" // good",
        u" \"$$$/PtZString/OK=OK\"",
        u"\"$$$/PtZString/OK=OK\"\r",
        u"\"$$$/PtZString/OK=OK\u2028\"",
        std::u16string(u"\"$$$/PtZString/OK=OK\0\"", 23)));

TEST_F(CheckTranslationsTest, TellsOfAFileThatIsNotUtf16WithAMark)
{
    const std::string whole = test::utf16File(kGerman);
    std::string swapped = whole;
    for (std::size_t at = 0; at < swapped.size(); at += 2)
        std::swap(swapped[at], swapped[at + 1]);
    for (const std::string& bytes : {whole.substr(2),
             swapped,
             std::string("\"$$$/A/B=a\"\n"),
             std::string("\xEF\xBB\xBF\"$$$/A/B=a\"\n"),
             std::string()}) {
        writeGerman(bytes);
        expectFault("is not UTF-16LE with a byte-order mark");
    }
    writeGerman(whole.substr(0, whole.size() - 1));
    expectFault("ends within a unit");
    writeGerman(whole + test::utf16File(u"\xD83D").substr(2));
    expectFault("half of a surrogate pair");
}

TEST_F(CheckTranslationsTest, TellsOfALanguageWithoutADictionary)
{
    std::filesystem::remove(m_tree.path(ScriptTree::dictionary("de_de")));
    std::filesystem::create_directories(m_tree.path("shared_assets/locales/de_de"));
    expectFault("No such file");
}

TEST_F(CheckTranslationsTest, LooksAtEveryLanguage)
{
    m_tree.write(ScriptTree::dictionary("it_it"), test::utf16File(kGerman));
    EXPECT_EQ(m_tree.run("check-translations").code, 0);
    m_tree.write(ScriptTree::dictionary("it_it"), "");
    const test::ScriptEnd end = m_tree.run("check-translations");
    EXPECT_EQ(end.code, 1);
    EXPECT_THAT(end.err, testing::StartsWith(ScriptTree::dictionary("it_it")));
}

TEST_F(CheckTranslationsTest, SharesWithEnglishWhatTheLanguageMay)
{
    m_tree.write("core/Source.cpp", R"(f("$$$/App/No=&No");)");
    ASSERT_EQ(m_tree.run("collect-texts --write").code, 0);
    writeGerman(test::utf16File(u"\"$$$/App/No=&No\"\n"));
    expectFault("/App/No: is not translated");
    std::filesystem::rename(
        m_tree.path("shared_assets/locales/de_de"), m_tree.path("shared_assets/locales/es_es"));
    EXPECT_EQ(m_tree.run("check-translations").code, 0);
}

TEST_F(CheckTranslationsTest, TellsThatTheEnglishFileIsNotUpToDate)
{
    m_tree.write(ScriptTree::dictionary("en_us"), test::utf16File(u"\"$$$/PtZString/OK=OK\"\n"));
    const test::ScriptEnd end = m_tree.run("check-translations");
    EXPECT_EQ(end.code, 1);
    EXPECT_THAT(end.err, HasSubstr("run scripts/collect-texts --write"));
    EXPECT_THAT(end.err, testing::Not(HasSubstr("de_de")));
    m_tree.write(ScriptTree::dictionary("en_us"), "");
    EXPECT_EQ(m_tree.run("check-translations").code, 1);
}

TEST_F(CheckTranslationsTest, CannotCheckWhereTheSourcesCannotBeRead)
{
    m_tree.write("core/Other.cpp", R"(f("$$$/PtZString/OK=Okay");)");
    EXPECT_EQ(m_tree.run("check-translations").code, 3);
}

TEST(ShippedTranslationsTest, AreWhole)
{
    const test::TestFolder folder;
    const test::ScriptEnd end =
        test::runIn(folder, "'" TEVORO_SOURCE_DIR "/scripts/check-translations'");
    EXPECT_EQ(end.code, 0) << end.err;
}

TEST(ShippedTranslationsTest, HaveNoLineThatReadersDrop)
{
    const test::TestFolder folder;
    int files = 0;
    for (const auto& locale :
        std::filesystem::directory_iterator(TEVORO_SOURCE_DIR "/shared_assets/locales")) {
        const test::ScriptEnd end = test::runIn(
            folder, "'" LEXKIT "' check '" + locale.path().string() + "/MFXStrings.dct'");
        EXPECT_EQ(end.code, 0) << locale << end.out << end.err;
        ++files;
    }
    EXPECT_GE(files, 8);
}
