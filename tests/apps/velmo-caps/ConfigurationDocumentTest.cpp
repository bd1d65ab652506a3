#include "velmo-caps/ConfigurationDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmo_caps_cli {
namespace {

using testing::HasSubstr;

std::string marked(const std::string& inside)
{
    return "<Configuration escaped=\"true\">" + inside + "</Configuration>";
}

// The only value of a document with one.
std::string valueOf(const std::string& text)
{
    return readDocument(text).at(0).values.at(0).value;
}

std::string inData(const std::string& value)
{
    return "<Other velmoCode=\"c\"><Data key=\"k\">" + value + "</Data></Other>";
}

TEST(ConfigurationDocumentTest, ReadsEveryReferenceOfAMarkedDocument)
{
    EXPECT_EQ(valueOf(marked(inData("&lt;&gt;&amp;&quot;&apos;&#10;&#x20AC;&#x1F600;"))),
        "<>&\"'\n\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(valueOf("<Configuration>" + inData("&lt;") + "</Configuration>"), "&lt;");
    EXPECT_EQ(
        valueOf("<Configuration escaped=\"yes\">" + inData("&lt;") + "</Configuration>"), "&lt;");
}

TEST(ConfigurationDocumentTest, StepsOverMarksDeclarationsAndComments)
{
    const auto document = readDocument("\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <Data> -->\n"
        + marked("<!-- a -->\n<Other\n velmoCode = 'c' >\r\n<!-- b --><Data key='k'/>\n</Other >"));
    EXPECT_EQ(document.at(0).name, "c");
    EXPECT_EQ(document.at(0).values.at(0).value, "");
    EXPECT_EQ(document.at(0).line, 4U);
    EXPECT_EQ(document.at(0).values.at(0).line, 6U);
}

TEST(ConfigurationDocumentTest, ReadsNoEncodingButUtf8)
{
    for (const char* const known :
        {"", " encoding='UTF-8'", " encoding=\"utf-8\"", " encoding='us-ascii' standalone='yes'"})
        EXPECT_EQ(
            readDocument("<?xml version='1.0'" + std::string(known) + "?>" + marked("")).size(),
            0U);
    for (const char* const other : {"ISO-8859-1", "UTF-16", "", "UTF-8x"}) {
        const std::string text =
            "<?xml version='1.0' encoding='" + std::string(other) + "'?>" + marked("");
        EXPECT_THROW(readDocument(text), DocumentError) << other;
        EXPECT_THROW(readDocument("\xEF\xBB\xBF" + text), DocumentError) << other;
    }
    EXPECT_EQ(readDocument("<?xml-style encoding='UTF-16'?>" + marked("")).size(), 0U);
}

TEST(ConfigurationDocumentTest, WhatIsWrittenIsReadBackAsItWas)
{
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    const ConfigurationDocument document{
        {DocumentBlock::Kind::kPayload, "{A}", "S & T", {{"k<", all, 0}, {"e", "", 0}}, 0},
        {DocumentBlock::Kind::kData, "code", {}, {}, 0}};
    const ConfigurationDocument read = readDocument(writeDocument(document));
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].name, "{A}");
    EXPECT_EQ(read[0].collection, "S & T");
    EXPECT_EQ(read[0].values.at(0).key, "k<");
    EXPECT_EQ(read[0].values.at(0).value, all);
    EXPECT_EQ(read[1].name, "code");
}

TEST(ConfigurationDocumentTest, TellsTheLineOfWhatIsWrong)
{
    const std::vector<std::pair<std::string, std::size_t>> rows{
        {"", 1},
        {"\n\n<Other/>", 3},
        {"<Configuration>", 1},
        {"<Configuration", 1},
        {"<Configuration a>", 1},
        {"<Configuration a=b>", 1},
        {"<Configuration a=\"b>", 1},
        {"<Configuration/>\nx", 2},
        {"</Configuration>", 1},
        {"<!-- ", 1},
        {marked("\n<Wrong/>"), 2},
        {marked("\n</Other>"), 2},
        {marked("\n<Other/>"), 2},
        {marked("<Other velmoCode='c'>\n</Payload>"), 2},
        {marked("<Other velmoCode='c'>\n<Data/></Other>"), 2},
        {marked("<Other velmoCode='c'>\n<Data key='k'>a<b></Data></Other>"), 2},
        {marked(inData("\n&")), 1},
        {marked(inData("&nothing;")), 1},
        {marked(inData("&#0;")), 1},
        {marked(inData("&#xD800;")), 1},
        {marked(inData("&#99999999999;")), 1},
        {marked(inData("&#12x;")), 1},
        {marked(inData("&#;")), 1},
        {std::string("<Configuration/>\n\0", 18), 2},
    };
    for (const auto& [text, line] : rows)
        try {
            readDocument(text);
            ADD_FAILURE() << text;
        } catch (const DocumentError& error) {
            EXPECT_EQ(error.line(), line) << text << error.what();
        }
}

TEST(ConfigurationDocumentTest, ADocumentCutAnywhereIsRefused)
{
    const std::string whole = marked("<!-- c --><Payload id=\"{A}\"/>" + inData("a &amp; b"));
    readDocument(whole);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(readDocument(whole.substr(0, length)), DocumentError) << length;
}

} // namespace
} // namespace velmo_caps_cli
