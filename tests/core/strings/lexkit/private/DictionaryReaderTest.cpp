#include "lexkit/private/DictionaryReader.h"

#include "core/strings/lexkit/DictionaryTexts.h"
#include "lexkit/private/DictionaryStream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using lexkit_private::DictionaryReader;
using testing::ElementsAre;

const unsigned char* bytesOf(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::unique_ptr<DictionaryReader> readerOf(const std::string& block)
{
    return DictionaryReader::Make(bytesOf(block), bytesOf(block) + block.size());
}

std::vector<std::u16string> linesOf(DictionaryReader& reader)
{
    std::vector<std::u16string> lines;
    while (const unsigned short* const line = reader.ReadALine()) {
        lines.emplace_back();
        for (const unsigned short* at = line; *at != 0; ++at)
            lines.back() += static_cast<char16_t>(*at);
    }
    return lines;
}

std::vector<std::u16string> linesOfBlock(const std::string& block)
{
    return linesOf(*readerOf(block));
}

std::vector<std::u16string> linesOfStream(const std::string& file)
{
    std::istringstream stream(file);
    lexkit_private::DictionaryStream source(stream);
    return linesOf(*DictionaryReader::Make(source));
}

TEST(DictionaryReaderTest, EndsLinesOfUtf16AtFourCharacters)
{
    for (const bool isSwapped : {false, true})
        EXPECT_THAT(linesOfBlock(utf16File(u"a\nb\rc\u2028d\u2029e", isSwapped)),
            ElementsAre(u"a", u"b", u"c", u"d", u"e"));
}

TEST(DictionaryReaderTest, EndsLinesOfBytesAtTwoCharacters)
{
    lexkit::SetDefaultEncoding(&kUTF8);
    EXPECT_THAT(linesOfBlock("a\nb\rc\xE2\x80\xA8"
                             "d"),
        ElementsAre(u"a", u"b", u"c\u2028d"));
    lexkit::SetDefaultEncoding(nullptr);
}

TEST(DictionaryReaderTest, GivesAnEmptyLineBetweenCarriageReturnAndLineFeed)
{
    EXPECT_THAT(linesOfBlock(utf16File(u"a\r\nb\r\n")), ElementsAre(u"a", u"", u"b", u""));
    EXPECT_THAT(linesOfBlock("a\r\nb\r\n"), ElementsAre(u"a", u"", u"b", u""));
}

TEST(DictionaryReaderTest, TellsWhatEndedALine)
{
    const std::string file = utf16File(u"a\rb\u2029c");
    const auto reader = readerOf(file);
    reader->ReadALine();
    EXPECT_EQ(reader->GetLineEnd(), u'\r');
    reader->ReadALine();
    EXPECT_EQ(reader->GetLineEnd(), 0x2029);
    reader->ReadALine();
    EXPECT_EQ(reader->GetLineEnd(), 0);
}

TEST(DictionaryReaderTest, EndsTheTextAtANulThatBeginsALine)
{
    EXPECT_THAT(linesOfBlock(utf16File(std::u16string(u"a\n\0b\n", 5))), ElementsAre(u"a"));
    EXPECT_THAT(linesOfBlock(std::string("a\n\0b\n", 5)), ElementsAre(u"a"));
}

TEST(DictionaryReaderTest, EndsOnlyTheLineAtANulWithinIt)
{
    EXPECT_THAT(
        linesOfBlock(utf16File(std::u16string(u"a\0b\nc", 5))), ElementsAre(u"a", u"b", u"c"));
    EXPECT_THAT(linesOfBlock(std::string("a\0b\nc", 5)), ElementsAre(u"a", u"b", u"c"));
}

TEST(DictionaryReaderTest, PassesOverHalfAUnitAtTheEnd)
{
    EXPECT_THAT(linesOfBlock(utf16File(u"a\nb") + "x"), ElementsAre(u"a", u"b"));
}

TEST(DictionaryReaderTest, TakesTheMarkOfABlockAwayAndLeavesTheStreamBehindIt)
{
    EXPECT_THAT(linesOfBlock(utf16File(u"a")), ElementsAre(u"a"));
    EXPECT_THAT(linesOfStream(utf16File(u"a")), ElementsAre(u"a"));
    EXPECT_THAT(linesOfStream("ab"), ElementsAre(u"ab"));
    EXPECT_THAT(linesOfStream("a"), ElementsAre(u"a"));
}

TEST(DictionaryReaderTest, HasNoReaderForABlockOfLessThanTwoBytes)
{
    EXPECT_EQ(readerOf(""), nullptr);
    EXPECT_EQ(readerOf("a"), nullptr);
    EXPECT_NE(readerOf("ab"), nullptr);
}

TEST(DictionaryReaderTest, GrowsItsLineByHalfAsOftenAsItTakes)
{
    const auto capacityFor = [](std::size_t length) {
        const std::string file = utf16File(std::u16string(length, u'x'));
        const auto reader = readerOf(file);
        reader->ReadALine();
        return reader->GetLineCapacity();
    };
    EXPECT_EQ(capacityFor(255), 256u);
    EXPECT_EQ(capacityFor(300), 384u);
    EXPECT_EQ(capacityFor(600), 864u);
}

TEST(DictionaryReaderTest, ReadsLinesThatAreLongerThanAPieceOfTheStream)
{
    const std::u16string line(100000, u'x');
    EXPECT_THAT(linesOfStream(utf16File(line + u"\nb")), ElementsAre(line, u"b"));
}

} // namespace
