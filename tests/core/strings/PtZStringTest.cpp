#include "strings/PtZString.h"

#include "lexkit/Dictionary.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <QString>

#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

namespace {

QString gLogged;

void log(QtMsgType, const QMessageLogContext&, const QString& text)
{
    gLogged = text;
}

std::string text(const char* literal)
{
    return PtZString::getZString(QString::fromUtf8(literal)).toStdString();
}

} // namespace

TEST(PtZStringTest, ShowsTheTextBehindTheSignAsItStands)
{
    EXPECT_EQ(text("$$$/a=b^Qc"), "b^Qc");
    EXPECT_EQ(text("$$$/a=\\n^r#{x}"), "\\n^r#{x}");
    EXPECT_EQ(text("$$$/a=\u00fcber"), "\u00fcber");
}

TEST(PtZStringTest, KeepsFurtherSignsOfEquality)
{
    EXPECT_EQ(text("$$$/a=b=c=="), "b=c==");
    EXPECT_EQ(text("=x"), "x");
}

TEST(PtZStringTest, ShowsNothingForAnEmptyText)
{
    EXPECT_EQ(text("$$$/a="), "");
}

TEST(PtZStringTest, LogsALiteralWithoutATextAndShowsIt)
{
    const auto before = qInstallMessageHandler(log);
    const std::string shown = text("no token");
    qInstallMessageHandler(before);
    EXPECT_EQ(shown, "no token");
    EXPECT_EQ(
        gLogged.toStdString(), "ERROR: getZString(\"no token\") HAS MISSING OR IMPROPER TOKEN!!");
}

TEST(PtZStringTest, NamesTheUsualButtons)
{
    EXPECT_EQ(PtZString::getCancelString(), QStringLiteral("Cancel"));
    EXPECT_EQ(PtZString::getYesString(), QStringLiteral("&Yes"));
    EXPECT_EQ(PtZString::getNoString(), QStringLiteral("&No"));
    EXPECT_EQ(PtZString::getOKString(), QStringLiteral("OK"));
}

namespace {

// A tree of programs of its own, with a system that speaks the language that the test sets.
class PtZStringFileTest : public testing::Test {
protected:
    PtZStringFileTest()
    {
        for (const char* variable : {"LC_MESSAGES", "LANG", "XDG_CONFIG_HOME"})
            m_environment.unset(variable);
        m_environment.set("HOME", m_folder.path("home"));
        m_environment.set("XDG_DATA_DIRS", m_folder.path("machine"));
        setSystem("de_DE.UTF-8");
        std::filesystem::create_directory(m_folder.path("bin"));
        std::filesystem::current_path(m_folder.path("bin"));
    }
    ~PtZStringFileTest() override
    {
        PtZString::closeZStringDict();
        std::filesystem::current_path(m_before);
    }

    void setSystem(const std::string& locale) { m_environment.set("LC_ALL", locale); }
    static std::string nameFor(const std::string& locale)
    {
        return "shared_assets/locales/" + locale + "/MFXStrings.dct";
    }
    // Lines of a dictionary as it ships: UTF-16 with a mark.
    std::string writeFor(const std::string& locale, const QString& lines)
    {
        const QString text = QChar(0xFEFF) + lines;
        return m_folder.write(nameFor(locale),
            std::string(reinterpret_cast<const char*>(text.utf16()),
                static_cast<std::size_t>(text.size()) * sizeof(QChar)));
    }

    test::TestFolder m_folder;
    test::Environment m_environment;
    std::filesystem::path m_before = std::filesystem::current_path();
};

} // namespace

TEST_F(PtZStringFileTest, OpensNoDictionaryForEnglish)
{
    writeFor("en_us", QStringLiteral("\"$$$/a=read\"\n"));
    for (const char* locale : {"en_US.UTF-8", "EN_us", "en_GB", "C", "POSIX", ""}) {
        setSystem(locale);
        EXPECT_TRUE(PtZString::openZStringDict(false)) << locale;
        EXPECT_EQ(text("$$$/a=b^Qc"), "b^Qc") << locale;
    }
}

TEST_F(PtZStringFileTest, ReadsTheEnglishFileWhenItIsForcedTo)
{
    setSystem("en_US.UTF-8");
    writeFor("en_us", QStringLiteral("\"$$$/a=read\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(true));
    EXPECT_EQ(text("$$$/a=b^Qc"), "read");
    EXPECT_EQ(text("$$$/b=b^Qc"), "b\"c");
}

TEST_F(PtZStringFileTest, ShowsTheTranslation)
{
    writeFor("de_de",
        QStringLiteral("\"$$$/a=\u00dcber \u20ac\"\n\"$$$/PtZString/Cancel=Abbrechen\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=About"), "\u00dcber \u20ac");
    EXPECT_EQ(PtZString::getCancelString(), QStringLiteral("Abbrechen"));
}

TEST_F(PtZStringFileTest, FindsTheDictionaryOfAShortToken)
{
    setSystem("de");
    writeFor("de_de", QStringLiteral("\"$$$/a=\u00dcber\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=About"), "\u00dcber");
}

TEST_F(PtZStringFileTest, ConvertsTheDefaultOfAKeyThatIsNotThere)
{
    writeFor("de_de", QStringLiteral("\"$$$/a=da\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/b=b^Qc"), "b\"c");
    EXPECT_EQ(text("$$$/b=x=y=="), "x=y==");
    EXPECT_EQ(text("$$$/b="), "");
}

TEST_F(PtZStringFileTest, TakesAFileThatIsNotThereForAnEmptyDictionary)
{
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=b^Qc"), "b\"c");
    EXPECT_EQ(text("$$$/a="), "");
}

TEST_F(PtZStringFileTest, ShowsDefaultsWhereAFolderStandsInPlaceOfTheFile)
{
    std::filesystem::create_directories(m_folder.path(nameFor("de_de")));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=b"), "b");
}

TEST_F(PtZStringFileTest, ShowsDefaultsWhereTheFileCannotBeRead)
{
    std::filesystem::permissions(
        writeFor("de_de", QStringLiteral("\"$$$/a=da\"\n")), std::filesystem::perms::none);
    std::filesystem::permissions(m_folder.path(), std::filesystem::perms::all);
    EXPECT_EQ(test::askedAsOrdinaryUser([] {
        const bool opened = PtZString::openZStringDict(false);
        return opened && text("$$$/a=b^Qc") == "b\"c" ? 0 : 1;
    }),
        0);
}

TEST_F(PtZStringFileTest, ShowsDefaultsForBytesOfAnyKind)
{
    for (const std::string& bytes : {std::string(),
             std::string("\xff"),
             std::string("\xff\xfe"),
             std::string("\xff\xfe\""),
             std::string(4096, '\xd8'),
             std::string(4096, '\0'),
             std::string("ZSTRING BINARY\x00\xff\xff\xff\xff", 19)}) {
        m_folder.write(nameFor("de_de"), bytes);
        PtZString::openZStringDict(false);
        EXPECT_EQ(text("$$$/a=b"), "b") << bytes.size();
    }
}

// The literals are plain ASCII; what is not comes through as its bytes, sign and all.
TEST_F(PtZStringFileTest, DoesNotDecodeTheBytesOfADefaultText)
{
    EXPECT_TRUE(PtZString::openZStringDict(false));
    const QString shown = PtZString::getZString(QString::fromUtf8("$$$/a=\u00fc"));
    ASSERT_EQ(shown.size(), 2);
    EXPECT_EQ(shown[0].unicode(), 0xFFC3);
    EXPECT_EQ(shown[1].unicode(), 0xFFBC);
}

TEST_F(PtZStringFileTest, ShowsNothingForALiteralWithOneDollarSign)
{
    EXPECT_EQ(text("$/a=b"), "b");
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$/a=b"), "");
    EXPECT_EQ(text("$$/a=b"), "");
}

TEST_F(PtZStringFileTest, ShowsLiteralsWithoutATextAsTheyStand)
{
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("no token"), "no token");
    EXPECT_EQ(text(""), "");
}

TEST_F(PtZStringFileTest, AddsAFileWhoseTextsReplaceTheEarlierOnes)
{
    writeFor("de_de", QStringLiteral("\"$$$/a=eins\"\n\"$$$/b=zwei\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    const std::string more = writeFor("more", QStringLiteral("\"$$$/b=drei\"\n\"$$$/c=vier\"\n"));
    EXPECT_TRUE(PtZString::appendZStringDict(QString::fromStdString(more)));
    EXPECT_EQ(text("$$$/a=1") + text("$$$/b=2") + text("$$$/c=3"), "einsdreivier");
}

TEST_F(PtZStringFileTest, AddsToADictionaryThatItMakesFirst)
{
    EXPECT_FALSE(PtZString::appendZStringDict(QStringLiteral("/no/such/file")));
    EXPECT_EQ(text("$$$/a=b^Qc"), "b\"c"); // made all the same
    PtZString::closeZStringDict();
    EXPECT_EQ(text("$$$/a=b^Qc"), "b^Qc");
    const std::string file = writeFor("more", QStringLiteral("\"$$$/a=da\"\n"));
    EXPECT_TRUE(PtZString::appendZStringDict(QString::fromStdString(file)));
    EXPECT_EQ(text("$$$/a=b"), "da");
}

TEST_F(PtZStringFileTest, ReadsTheBinaryForm)
{
    lexkit::Dictionary dictionary;
    const std::string lines = "\"$$$/a=da\"\n";
    dictionary.Read(lines.data(), static_cast<int>(lines.size()), true);
    std::ostringstream compiled;
    dictionary.Compile(compiled, nullptr);
    m_folder.write(nameFor("de_de"), compiled.str());
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=b"), "da");
}

TEST_F(PtZStringFileTest, ShowsDefaultsAsTheyStandOnceItIsClosed)
{
    writeFor("de_de", QStringLiteral("\"$$$/a=da\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    PtZString::closeZStringDict();
    PtZString::closeZStringDict();
    EXPECT_EQ(text("$$$/a=b^Qc"), "b^Qc");
}

TEST_F(PtZStringFileTest, ChangesTheLanguageWhenItIsOpenedAgain)
{
    writeFor("de_de", QStringLiteral("\"$$$/a=da\"\n"));
    writeFor("fr_fr", QStringLiteral("\"$$$/a=l\u00e0\"\n"));
    EXPECT_TRUE(PtZString::openZStringDict(false));
    setSystem("fr_CA.UTF-8");
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=there"), "l\u00e0");
    setSystem("C");
    EXPECT_TRUE(PtZString::openZStringDict(false));
    EXPECT_EQ(text("$$$/a=there"), "there");
}
