#include "preference_xml_parser/PreferenceDocument.h"

#include <random>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using preferences::PreferenceDocument;
using preferences::PreferenceValue;
using testing::HasSubstr;
using ReadResult = PreferenceDocument::ReadResult;

namespace {

constexpr char kStart[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

std::string file(const std::string& inside)
{
    return kStart + ("<preferences version=\"1.0\">\n" + inside + "</preferences>\n");
}

PreferenceDocument documentOf(const std::string& bytes)
{
    PreferenceDocument document;
    EXPECT_EQ(document.read(bytes), ReadResult::kWhole) << bytes;
    return document;
}

std::optional<PreferenceValue> valueIn(const PreferenceDocument& document, std::u16string_view key)
{
    const PreferenceValue* const value = document.find(key);
    return value != nullptr ? std::optional(*value) : std::nullopt;
}

PreferenceValue text(std::u16string value)
{
    return value;
}

PreferenceValue bytes(std::string value)
{
    return value;
}

} // namespace

TEST(PreferenceDocumentTest, WritesWhatAPersonCanRead)
{
    PreferenceDocument document;
    document.set(u"Location", text(u"/data/pictures & \"more\""));
    document.set(u"Empty", text(u""));
    document.set(u"Lines", text(u"a\nb\\"));
    document.set(u"Batch", bytes("0#\"\"#-1"));
    document.set(u"Author", bytes("M\xc3\xbcller"));
    document.set(u"Raw", bytes(std::string("\0\xff", 2)));
    document.set(u" key ", text(u"1"));
    EXPECT_EQ(document.written(),
        file("  <value key=\"Location\">/data/pictures &amp; \"more\"</value>\n"
             "  <value key=\"Empty\"></value>\n"
             "  <value key=\"Lines\" encoding=\"escaped\">a\\u000ab\\\\</value>\n"
             "  <bytes key=\"Batch\" encoding=\"text\">0#\"\"#-1</bytes>\n"
             "  <bytes key=\"Author\" encoding=\"text\">M\xc3\xbcller</bytes>\n"
             "  <bytes key=\"Raw\" encoding=\"base64\">AP8=</bytes>\n"
             "  <value key=\"\\u0020key\\u0020\" keyEncoding=\"escaped\">1</value>\n"));
}

TEST(PreferenceDocumentTest, AnEmptyDocumentIsAFileToo)
{
    const PreferenceDocument empty;
    EXPECT_EQ(documentOf(empty.written()).written(), empty.written());
}

struct GoodRow {
    const char* name;
    std::string inside;
    std::u16string key;
    std::optional<PreferenceValue> value;
};

void PrintTo(const GoodRow& row, std::ostream* out)
{
    *out << row.name;
}

class GoodPreferencesTest : public testing::TestWithParam<GoodRow> { };

TEST_P(GoodPreferencesTest, AreReadAndSurviveWriting)
{
    const GoodRow& row = GetParam();
    const PreferenceDocument document = documentOf(file(row.inside));
    EXPECT_EQ(valueIn(document, row.key), row.value);
    const PreferenceDocument again = documentOf(document.written());
    EXPECT_EQ(valueIn(again, row.key), row.value);
    EXPECT_EQ(again.written(), document.written());
}

INSTANTIATE_TEST_SUITE_P(Rows,
    GoodPreferencesTest,
    testing::Values(GoodRow{"plain", "<value key='a'>b</value>", u"a", text(u"b")},
        GoodRow{"empty element", "<value key='a'/>", u"a", text(u"")},
        GoodRow{"white space alone", "<value key='a'>  </value>", u"a", text(u"  ")},
        GoodRow{"outer white space", "<value key='a'> b\n</value>", u"a", text(u" b\n")},
        GoodRow{"references",
            "<value key='a'>&lt;&#228;&amp;&#x20ac;</value>",
            u"a",
            text(u"<\u00e4&\u20ac")},
        GoodRow{
            "carriage return by reference", "<value key='a'>b&#13;</value>", u"a", text(u"b\r")},
        GoodRow{"tab by reference in a key", "<value key='a&#9;b'>c</value>", u"a\tb", text(u"c")},
        GoodRow{"character data section",
            "<value key='a'>b<![CDATA[<c>]]>d</value>",
            u"a",
            text(u"b<c>d")},
        GoodRow{"comment in a value", "<value key='a'>b<!-- x -->c</value>", u"a", text(u"bc")},
        GoodRow{"escaped",
            "<value key='a' encoding='escaped'>\\ud800\\u0000</value>",
            u"a",
            text(std::u16string{0xd800, 0})},
        GoodRow{"backslash without encoding",
            "<value key='a'>C:\\u0041</value>",
            u"a",
            text(u"C:\\u0041")},
        GoodRow{"escaped key",
            "<value key='\\u0000' keyEncoding='escaped'>b</value>",
            std::u16string(1, 0),
            text(u"b")},
        GoodRow{"empty key", "<value key=''>b</value>", u"", text(u"b")},
        GoodRow{
            "last of two", "<value key='a'>1</value><value key='a'>2</value>", u"a", text(u"2")},
        GoodRow{"bytes as text", "<bytes key='a' encoding='text'>b</bytes>", u"a", bytes("b")},
        GoodRow{"bytes without encoding", "<bytes key='a'> b</bytes>", u"a", bytes(" b")},
        GoodRow{"broken base64 lines",
            "<bytes key='a' encoding='base64'>\n AP\n 8=\n</bytes>",
            u"a",
            bytes(std::string("\0\xff", 2))},
        GoodRow{"unknown encoding", "<value key='a' encoding='zip'>b</value>", u"a", std::nullopt},
        GoodRow{"text encoding of a value",
            "<value key='a' encoding='base64'>AA==</value>",
            u"a",
            std::nullopt},
        GoodRow{
            "wrong escape", "<value key='a' encoding='escaped'>\\x</value>", u"a", std::nullopt},
        GoodRow{"wrong base64", "<bytes key='a' encoding='base64'>?</bytes>", u"a", std::nullopt},
        GoodRow{"unknown key encoding",
            "<value key='a' keyEncoding='zip'>b</value>",
            u"a",
            std::nullopt},
        GoodRow{"no key", "<value>b</value>", u"", std::nullopt},
        GoodRow{"unknown element", "<number key='a'>1</number>", u"a", std::nullopt},
        GoodRow{"stray text", "stray <value key='a'>b</value> text", u"a", text(u"b")}));

struct BadRow {
    const char* name;
    std::string bytes;
};

void PrintTo(const BadRow& row, std::ostream* out)
{
    *out << row.name;
}

class DamagedPreferencesTest : public testing::TestWithParam<BadRow> { };

TEST_P(DamagedPreferencesTest, AreDamagedAndLeaveTheDocumentEmpty)
{
    PreferenceDocument document = documentOf(file("<value key='a'>b</value>"));
    EXPECT_EQ(document.read(GetParam().bytes), ReadResult::kDamaged);
    EXPECT_EQ(document.written(), PreferenceDocument().written());
}

INSTANTIATE_TEST_SUITE_P(Rows,
    DamagedPreferencesTest,
    testing::Values(BadRow{"nothing", ""},
        BadRow{"white space", " \n"},
        BadRow{"a zero", std::string(1, '\0')},
        BadRow{"zeros in place of the end", file("").substr(0, 60) + std::string(100, '\0')},
        BadRow{"zeros behind the end", file("") + std::string(3, '\0')},
        BadRow{"no XML", "Location=/data"},
        BadRow{"another root", "<settings version='1.0'/>"},
        BadRow{"no root", "<!-- nothing -->"},
        BadRow{"two roots", "<preferences version='1.0'/><preferences version='1.0'/>"},
        BadRow{"a second root of another name", "<preferences version='1.0'/><other/>"},
        BadRow{"text behind the root", file("") + "rest"},
        BadRow{"text before the root", "rest" + file("")},
        BadRow{"no version", "<preferences/>"},
        BadRow{"empty version", "<preferences version=''/>"},
        BadRow{"version 0", "<preferences version='0.9'/>"},
        BadRow{"version without minor", "<preferences version='1'/>"},
        BadRow{"version with rest", "<preferences version='1.0b'/>"},
        BadRow{"negative version", "<preferences version='-1.0'/>"},
        BadRow{"huge version", "<preferences version='99999999999.0'/>"},
        BadRow{"spaced version", "<preferences version=' 1.0'/>"},
        BadRow{"open element", "<preferences version='1.0'><value key='a'>b"},
        BadRow{"crossed elements", "<preferences version='1.0'><a><b></a></b></preferences>"},
        BadRow{"attribute without quotes", "<preferences version=1.0/>"},
        BadRow{"open comment", file("") + "<!-- "},
        BadRow{"UTF-16", std::string("<\0p\0", 4)},
        BadRow{"invalid UTF-8", file("<value key='a'>\xff</value>")},
        BadRow{"latin text", file("<value key='a'>M\xfcller</value>")},
        BadRow{"surrogate in UTF-8", file("<value key='a'>\xed\xa0\x80</value>")},
        BadRow{"surrogate by reference", file("<value key='a'>&#xd800;</value>")},
        BadRow{"no character by reference", file("<value key='a'>&#xffff;</value>")},
        BadRow{"control character", file("<value key='a'>\x01</value>")},
        BadRow{"control character by reference", file("<value key='a'>&#1;</value>")},
        BadRow{"surrogate in an attribute", file("<x y='&#xdc00;'/>")},
        BadRow{"document type", "<!DOCTYPE preferences>" + file("").substr(sizeof kStart - 1)},
        BadRow{"document type with entities",
            "<!DOCTYPE p [<!ENTITY a 'ha'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;'>"
            "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'>]><preferences version='1.0'>"
            "<value key='a'>&c;</value></preferences>"},
        BadRow{"too deep",
            [] {
                std::string open;
                std::string close;
                for (int depth = 0; depth < 100000; ++depth) {
                    open += "<a>";
                    close += "</a>";
                }
                return file(open + close);
            }()},
        BadRow{"too long", file(std::string(preferences::kMaxFileLength, ' '))}));

TEST(PreferenceDocumentTest, KnowsLaterMajorVersionsAsSuch)
{
    PreferenceDocument document;
    EXPECT_EQ(document.read("<preferences version='2.0'/>"), ReadResult::kLaterFormat);
    EXPECT_EQ(
        document.read("<preferences version='10.3'><x/></preferences>"), ReadResult::kLaterFormat);
    EXPECT_EQ(document.read("<preferences version='1.99'/>"), ReadResult::kWhole);
}

TEST(PreferenceDocumentTest, KeepsWhatItDoesNotKnow)
{
    const std::string known = "<preferences version=\"1.7\" by=\"hand\">\n"
                              "  <!-- mine & yours -->\n"
                              "  <value key=\"a\" note=\"kept\">1</value>\n"
                              "  <future mode=\"x\">\n    <part>  </part>\n  </future>\n"
                              "  <value key=\"z\" encoding=\"zip\">QUJD</value>\n";
    PreferenceDocument document =
        documentOf(kStart + ("<!-- top -->\n" + known) + "</preferences>\n");
    document.set(u"a", text(u"2"));
    document.set(u"b", text(u"3"));
    std::string expected = kStart + ("<!-- top -->\n" + known);
    expected.replace(expected.find(">1<"), 3, ">2<");
    EXPECT_EQ(document.written(), expected + "  <value key=\"b\">3</value>\n</preferences>\n");
}

TEST(PreferenceDocumentTest, KeepsReferencesToWhiteSpaceInWhatItDoesNotKnow)
{
    const std::string inside = "  <future mode=\"a&#9;b&#10;c\">d&#13;e</future>\n";
    const PreferenceDocument document = documentOf(file(inside));
    EXPECT_EQ(documentOf(document.written()).written(), document.written());
    EXPECT_THAT(document.written(), HasSubstr(">d&#13;e<"));
    EXPECT_THAT(document.written(), HasSubstr("mode=\"a&#09;b&#10;c\""));
}

TEST(PreferenceDocumentTest, ReplacesAValueWhereItStands)
{
    PreferenceDocument document =
        documentOf(file("  <value key=\"a\" encoding=\"zip\"><x/>QUJD</value>\n  <bytes key=\"b\" "
                        "encoding=\"base64\">AA==</bytes>\n"));
    document.set(u"a", bytes("x"));
    document.set(u"b", text(u"y"));
    EXPECT_EQ(document.written(),
        file("  <bytes key=\"a\" encoding=\"text\">x</bytes>\n  <value key=\"b\">y</value>\n"));
    EXPECT_EQ(valueIn(document, u"a"), bytes("x"));
    EXPECT_EQ(valueIn(document, u"b"), text(u"y"));
}

TEST(PreferenceDocumentTest, ACopyStandsAlone)
{
    PreferenceDocument document = documentOf(file("  <value key=\"a\">1</value>\n"));
    PreferenceDocument copied = document.copy();
    copied.set(u"a", text(u"2"));
    EXPECT_EQ(valueIn(document, u"a"), text(u"1"));
    EXPECT_EQ(valueIn(copied, u"a"), text(u"2"));
    EXPECT_THAT(document.written(), HasSubstr(">1<"));
    EXPECT_THAT(copied.written(), HasSubstr(">2<"));
}

TEST(PreferenceDocumentTest, ReadsAFileThatAnEditorGaveAByteOrderMarkAndReturns)
{
    const PreferenceDocument document =
        documentOf("\xef\xbb\xbf" + file("<value key='a'>b</value>\r\n"));
    EXPECT_EQ(valueIn(document, u"a"), text(u"b"));
}

TEST(PreferenceDocumentTest, RandomTextsAndBytesComeBack)
{
    std::mt19937 random(4711);
    PreferenceDocument document;
    std::map<std::u16string, PreferenceValue> expected;
    for (int round = 0; round < 2000; ++round) {
        std::u16string key;
        std::u16string value;
        std::string raw;
        for (auto left = random() % 6; left > 0; --left) {
            key.push_back(static_cast<char16_t>(random() % 3 == 0 ? random() : random() % 0x80));
            value.push_back(static_cast<char16_t>(random() % 2 == 0 ? random() : random() % 0x80));
            raw.push_back(static_cast<char>(random() & 0xff));
        }
        const PreferenceValue chosen = random() % 2 == 0 ? text(value) : bytes(raw);
        document.set(key, chosen);
        expected.insert_or_assign(key, chosen);
    }
    const PreferenceDocument again = documentOf(document.written());
    for (const auto& [key, value] : expected)
        ASSERT_EQ(valueIn(again, key), value);
    EXPECT_EQ(again.written(), document.written());
}

TEST(PreferenceDocumentTest, AFileCutAnywhereIsDamagedOrWhole)
{
    PreferenceDocument full;
    full.set(u"Location", text(u"/data/\u00e4\U0001f600"));
    full.set(u"Lines", text(u"a\nb"));
    full.set(u"Batch", bytes("0#\"\"#-1"));
    full.set(u"Raw", bytes(std::string(40, '\1')));
    const std::string whole = full.written();
    // Only the line feed behind the root may be missing.
    for (std::size_t length = 0; length + 1 < whole.size(); ++length) {
        PreferenceDocument document;
        ASSERT_EQ(document.read(whole.substr(0, length)), ReadResult::kDamaged) << length;
    }
    EXPECT_EQ(documentOf(whole.substr(0, whole.size() - 1)).written(), whole);
}
