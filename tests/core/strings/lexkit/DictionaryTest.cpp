#include "core/strings/lexkit/DictionaryTexts.h"

#include <algorithm>
#include <fstream>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

class DictionaryTest : public testing::Test {
protected:
    std::u16string value(const std::string& key) { return valueOf(m_dictionary, key); }
    std::u16string lookup(const char* literal, const lexkit::EncodingInfo* encoding = nullptr)
    {
        return textOf(m_dictionary.Lookup(literal, encoding));
    }

    lexkit::Dictionary m_dictionary;
};

TEST_F(DictionaryTest, SplitsALineAtTheFirstEqualsSign)
{
    readLines(m_dictionary, u"\"$$$/a/b=x=y\"\n");
    EXPECT_EQ(value("/a/b"), u"x=y");
}

TEST_F(DictionaryTest, TakesTheKeyWithAndWithoutMarksAndQuotes)
{
    for (const auto* const line : {u"\"/a/b=x\"\n", u"$$$/a/b=x\n", u"\"$$$/a/b=x\"\n"}) {
        lexkit::Dictionary dictionary;
        readLines(dictionary, line);
        EXPECT_EQ(valueOf(dictionary, "/a/b"), u"x");
        EXPECT_THAT(keysOf(dictionary), ElementsAre("/a/b"));
    }
}

TEST_F(DictionaryTest, IsInvalidAfterABadLineAndReadsOn)
{
    readLines(m_dictionary, u"$$/a=b\n/c=d\n");
    EXPECT_FALSE(m_dictionary.IsValid());
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("/c"));
    EXPECT_EQ(value("/c"), u"d");
}

TEST_F(DictionaryTest, CallsTagsBadThatStartWithFewerThanThreeMarks)
{
    for (const auto* const line : {u"$", u"$$", u"$$x", u"$a=b", u"\"$=x\"", u"x \"$$\""}) {
        lexkit::Dictionary dictionary;
        readLines(dictionary, line);
        EXPECT_FALSE(dictionary.IsValid()) << std::string(line, line + std::u16string(line).size());
        EXPECT_EQ(dictionary.NumKeys(), 0u);
    }
}

TEST_F(DictionaryTest, StaysInvalidWhenAGoodFileFollows)
{
    readLines(m_dictionary, u"$$x\n");
    readLines(m_dictionary, u"k=v\n");
    EXPECT_FALSE(m_dictionary.IsValid());
    EXPECT_EQ(value("k"), u"v");
}

TEST_F(DictionaryTest, KeepsTheLastValueOfAKey)
{
    readLines(m_dictionary, u"\"k=first\"\n\"k=second\"\n");
    EXPECT_EQ(value("k"), u"second");
    EXPECT_EQ(m_dictionary.NumKeys(), 1u);
}

TEST_F(DictionaryTest, ReplacesTheValueOfAKeyByALaterFile)
{
    readLines(m_dictionary, u"k=first\nother=1\n");
    readLines(m_dictionary, u"k=second\n");
    EXPECT_EQ(value("k"), u"second");
    EXPECT_EQ(m_dictionary.NumKeys(), 2u);
}

TEST_F(DictionaryTest, ReadsAnEscapedQuoteMarkAsPartOfTheValue)
{
    readLines(m_dictionary, u"\"k=a\\\"b\"\n");
    EXPECT_EQ(value("k"), u"a\"b");
}

TEST_F(DictionaryTest, CountsOneBackslashBeforeAQuoteMarkOnly)
{
    readLines(m_dictionary, u"\"k=a\\\\\"b\"\n");
    EXPECT_EQ(value("k"), u"a\\\"b");
}

TEST_F(DictionaryTest, PassesOverWhatStandsOutsideTheQuoteMarks)
{
    readLines(m_dictionary, u"junk \"k=v\" more junk \"l=w\"\n");
    EXPECT_EQ(value("k"), u"v");
    EXPECT_EQ(m_dictionary.NumKeys(), 1u);
}

TEST_F(DictionaryTest, ReadsToTheEndOfTheLineWithoutAClosingQuoteMark)
{
    readLines(m_dictionary, u"junk \"k=v and more\nl=w\n");
    EXPECT_EQ(value("k"), u"v and more");
    EXPECT_EQ(value("l"), u"w");
}

TEST_F(DictionaryTest, TakesALineWithoutEqualsSignAsAKeyWithAnEmptyValue)
{
    readLines(m_dictionary, u"k\n");
    EXPECT_EQ(lookup("$$$k=d"), u"");
    EXPECT_TRUE(m_dictionary.HasKey("$$$k", nullptr));
}

TEST_F(DictionaryTest, KeepsWhiteSpace)
{
    readLines(m_dictionary, u" k = v \n");
    EXPECT_EQ(value(" k "), u" v ");
}

TEST_F(DictionaryTest, TakesRemarksAsKeysThatDoNoHarm)
{
    readLines(m_dictionary, u"// remark\n\"k=v\"\n");
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_THAT(keysOf(m_dictionary), UnorderedElementsAre("// remark", "k"));
}

TEST_F(DictionaryTest, NarrowsKeysToTheLowByteOfEachUnit)
{
    readLines(m_dictionary, u"\u0161\u4E61=v\n");
    EXPECT_EQ(value("aa"), u"v");
}

TEST_F(DictionaryTest, KeepsKeysOfAnyLengthApart)
{
    const std::string longKey(5000, 'k');
    readBlock(m_dictionary, longKey + "=long\n" + longKey + "x=longer\n");
    EXPECT_EQ(value(longKey), u"long");
    EXPECT_EQ(value(longKey + "x"), u"longer");
}

TEST_F(DictionaryTest, ReadsBothByteOrdersAlike)
{
    const auto* const lines = u"\"/one=\u00E9\"\n\"/two=\u6F22\"\n";
    for (const bool isSwapped : {false, true}) {
        for (auto* const read : {readBlock, readStream}) {
            lexkit::Dictionary dictionary;
            read(dictionary, utf16File(lines, isSwapped));
            EXPECT_THAT(keysOf(dictionary), UnorderedElementsAre("/one", "/two"));
            EXPECT_EQ(valueOf(dictionary, "/one"), u"\u00E9");
            EXPECT_EQ(valueOf(dictionary, "/two"), u"\u6F22");
        }
    }
}

TEST_F(DictionaryTest, SkipsTheMarkOfABlockAndPassesOverThatOfAStreamInAQuotedLine)
{
    readBlock(m_dictionary, utf16File(u"k=v\n"));
    EXPECT_EQ(value("k"), u"v");
    lexkit::Dictionary fromStream;
    readStream(fromStream, utf16File(u"k=v\n\"l=w\"\n"));
    EXPECT_THAT(keysOf(fromStream), UnorderedElementsAre("\xFFk", "l"));
}

TEST_F(DictionaryTest, ReadsLinesThatEndWithCarriageReturnAndLineFeed)
{
    readLines(m_dictionary, u"\"k=v\"\r\n\"l=w\"\r\n");
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_THAT(keysOf(m_dictionary), UnorderedElementsAre("k", "l"));
    EXPECT_EQ(value("k"), u"v");
}

TEST_F(DictionaryTest, ReadsBytesInTheDefaultEncoding)
{
    lexkit::SetDefaultEncoding(&kUTF8);
    readStream(m_dictionary,
        "\"k=Gr\xC3\xB6\xC3\x9F"
        "e\"\n");
    readBlock(m_dictionary, "\xEF\xBB\xBF\"l=\xE6\xBC\xA2\"\r\n");
    lexkit::SetDefaultEncoding(nullptr);
    EXPECT_EQ(value("k"), u"Gr\u00F6\u00DFe");
    EXPECT_EQ(value("l"), u"\u6F22");
}

TEST_F(DictionaryTest, IsInvalidForNoStreamAndForABlockThatIsNone)
{
    const auto isValidAfter = [](auto read) {
        lexkit::Dictionary dictionary;
        read(dictionary);
        return dictionary.IsValid();
    };
    std::istream* const none = nullptr;
    EXPECT_FALSE(isValidAfter([&](auto& dictionary) { dictionary.Read(none); }));
    EXPECT_FALSE(isValidAfter([](auto& dictionary) { dictionary.Read(nullptr, 5, false); }));
    EXPECT_FALSE(isValidAfter([](auto& dictionary) { dictionary.Read("k=v", 0, false); }));
    EXPECT_FALSE(isValidAfter([](auto& dictionary) { dictionary.Read("k=v", -3, false); }));
    EXPECT_FALSE(isValidAfter([](auto& dictionary) { dictionary.Read("k=v", 1, false); }));
    EXPECT_TRUE(isValidAfter([](auto& dictionary) { dictionary.Read("k=v", 2, false); }));
}

TEST_F(DictionaryTest, ReadsAStreamOfOneByte)
{
    readStream(m_dictionary, "k");
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("k"));
}

TEST_F(DictionaryTest, IsEmptyAndValidForAnEmptyStreamAndForOneThatIsNotOpen)
{
    readStream(m_dictionary, "");
    std::ifstream missing("/nonexistent/strings.dct", std::ios::binary);
    m_dictionary.Read(&missing);
    EXPECT_TRUE(m_dictionary.IsValid());
    EXPECT_EQ(m_dictionary.NumKeys(), 0u);
}

TEST_F(DictionaryTest, IsInvalidWhenTheStreamItselfFails)
{
    std::ifstream folder("/", std::ios::binary); // opens, and cannot be read
    m_dictionary.Read(&folder);
    EXPECT_FALSE(m_dictionary.IsValid());
}

// A pipe: bytes come, and there is no going back.
class PipeBuffer : public std::streambuf {
public:
    explicit PipeBuffer(std::string bytes)
        : m_bytes(std::move(bytes))
    {
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + m_bytes.size());
    }

private:
    std::string m_bytes;
};

TEST_F(DictionaryTest, ReadsFromAStreamThatCannotSeek)
{
    for (const std::string& file : {utf16File(u"\"k=v\"\n\"l=w\"\n", true),
             std::string("k=v\nl=w\n"),
             std::string("\"k=v\" and a remark that is longer than any id\nl=w\n")}) {
        PipeBuffer buffer(file);
        std::istream pipe(&buffer);
        lexkit::Dictionary dictionary;
        dictionary.Read(&pipe);
        EXPECT_TRUE(dictionary.IsValid());
        EXPECT_THAT(keysOf(dictionary), UnorderedElementsAre("k", "l"));
    }
}

TEST_F(DictionaryTest, ReadsAStreamFromItsStart)
{
    std::istringstream stream("k=v\nl=w\n");
    std::string line;
    std::getline(stream, line);
    m_dictionary.Read(&stream);
    EXPECT_EQ(m_dictionary.NumKeys(), 2u);
}

TEST_F(DictionaryTest, ConvertsTheDefaultTextWhenNothingHasTheKey)
{
    EXPECT_EQ(lookup("$$$/a=b^Qc#{e9}\\n"), u"b\"c\u00E9\n");
}

TEST_F(DictionaryTest, WidensTheBytesOfADefaultTextAsSignedNumbers)
{
    const lexkit::EncodingInfo system(lexkit::EncodingInfo::kSystem);
    EXPECT_EQ(lookup("$$$/a=\x80z\xFF"), u"\xFF80z\xFFFF");
    EXPECT_EQ(lookup("$$$/a=\x80z\xFF", &system), u"\xFF80z\xFFFF");
}

TEST_F(DictionaryTest, DecodesADefaultTextWithTheEncodingThatIsGiven)
{
    EXPECT_EQ(lookup("$$$/a=\xC3\xA9^n", &kUTF8), u"\u00E9\n");
}

TEST_F(DictionaryTest, GivesTheEmptyTextForWhatIsNoLiteral)
{
    for (const char* const literal :
        {static_cast<const char*>(nullptr), "", "$", "$$", "$$/a=b", "$a=b", "$$$", "$$$/a="})
        EXPECT_EQ(lookup(literal), u"") << (literal ? literal : "(null)");
}

TEST_F(DictionaryTest, LooksUpALiteralWithoutMarksToo)
{
    readLines(m_dictionary, u"k=v\n");
    EXPECT_EQ(lookup("k=d"), u"v");
    EXPECT_EQ(lookup("l=d"), u"d");
}

TEST_F(DictionaryTest, TellsWhetherItHasAKey)
{
    readLines(m_dictionary, u"k=v\n=empty key\n");
    EXPECT_TRUE(m_dictionary.HasKey("$$$k=d", nullptr));
    EXPECT_TRUE(m_dictionary.HasKey("$$$", nullptr));
    for (const char* const literal : {static_cast<const char*>(nullptr), "", "$$k", "$$$K", "kk"})
        EXPECT_FALSE(m_dictionary.HasKey(literal, nullptr)) << (literal ? literal : "(null)");
}

TEST_F(DictionaryTest, FallsBackToTheMainDictionary)
{
    lexkit::Dictionary main;
    readLines(main, u"/shared=from main\n/both=from main\n");
    readLines(m_dictionary, u"/both=own\n");
    main.SetAsMain();
    EXPECT_EQ(value("/shared"), u"from main");
    EXPECT_EQ(value("/both"), u"own");
    EXPECT_EQ(lookup("$$$/none=#{lf}"), u"\n");
    EXPECT_EQ(valueOf(main, "/none"), kMissing);
    EXPECT_FALSE(m_dictionary.HasKey("$$$/shared", nullptr));
}

TEST_F(DictionaryTest, ForgetsTheMainDictionaryWhenItEnds)
{
    auto main = std::make_unique<lexkit::Dictionary>();
    readLines(*main, u"/shared=from main\n");
    main->SetAsMain();
    main.reset();
    EXPECT_EQ(value("/shared"), kMissing);
}

TEST_F(DictionaryTest, KeepsTheMainDictionaryWhenAnotherOneEnds)
{
    lexkit::Dictionary main;
    readLines(main, u"/shared=from main\n");
    main.SetAsMain();
    {
        lexkit::Dictionary other;
    }
    EXPECT_EQ(value("/shared"), u"from main");
}

TEST_F(DictionaryTest, HasDictionariesByNumber)
{
    std::istringstream seven("k=seven\n");
    std::istringstream eight("k=eight\nl=of the main one\n");
    lexkit::Dictionary::Read(&seven, 7);
    lexkit::Dictionary::Read(&eight, 8);
    EXPECT_EQ(textOf(lexkit::ZString("$$$k=d", 7, nullptr)), u"seven");
    EXPECT_EQ(textOf(lexkit::ZString("$$$k=d", 8, nullptr)), u"eight");
    EXPECT_EQ(textOf(lexkit::ZString("$$$k=d", 9, nullptr)), u"d");
    EXPECT_EQ(textOf(lexkit::ZString("$$$k=\xC3\xA9", 9, &kUTF8)), u"\u00E9");
    lexkit::Dictionary::SetAsMain(8);
    EXPECT_EQ(textOf(lexkit::ZString("$$$l=d", 7, nullptr)), u"of the main one");
    // A number has 32 bits.
    EXPECT_EQ(textOf(lexkit::ZString("$$$k=d", (1ul << 32) + 7, nullptr)), u"seven");
    lexkit::Dictionary other;
    other.SetAsMain(); // and ends: no main dictionary is left for other tests
}

TEST_F(DictionaryTest, GoesThroughItsKeysAndStartsOver)
{
    EXPECT_FALSE(m_dictionary.HasMoreKey());
    readLines(m_dictionary, u"a=1\nb=2\nc=3\n");
    const auto first = keysOf(m_dictionary);
    EXPECT_THAT(first, UnorderedElementsAre("a", "b", "c"));
    EXPECT_EQ(keysOf(m_dictionary), first);
}

TEST_F(DictionaryTest, GoesThroughBucketsInOrderAndThroughAChainFromTheNewest)
{
    // "k" and "k" + 1021 times nothing share no bucket; these three do: their sampled bytes agree.
    readLines(m_dictionary, u"aXaaaaaaaaa=1\naYaaaaaaaaa=2\naZaaaaaaaaa=3\n");
    EXPECT_THAT(keysOf(m_dictionary), ElementsAre("aZaaaaaaaaa", "aYaaaaaaaaa", "aXaaaaaaaaa"));
}

TEST_F(DictionaryTest, StartsOverWhenTheKeyInHandIsReadAnew)
{
    readLines(m_dictionary, u"a=1\nb=2\n");
    ASSERT_TRUE(m_dictionary.HasMoreKey());
    readLines(m_dictionary, u"a=3\nb=4\n");
    EXPECT_THAT(keysOf(m_dictionary), UnorderedElementsAre("a", "b"));
}

TEST_F(DictionaryTest, CopiesAKeyIntoABufferThatHoldsItAndItsTerminator)
{
    readLines(m_dictionary, u"key=1\n");
    ASSERT_TRUE(m_dictionary.HasMoreKey());
    char buffer[] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_FALSE(m_dictionary.NextKey(buffer, 3, false));
    EXPECT_THROW(m_dictionary.NextKey(buffer, 3, true), LXErrException);
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_TRUE(m_dictionary.NextKey(buffer, 4, true));
    EXPECT_STREQ(buffer, "key");
    EXPECT_EQ(buffer[4], 'x');
}

TEST_F(DictionaryTest, GivesAnEmptyKeyWhereThereIsNone)
{
    char buffer[] = {'x', 'x'};
    EXPECT_TRUE(m_dictionary.NextKey(buffer, 1, true));
    EXPECT_STREQ(buffer, "");
    EXPECT_FALSE(m_dictionary.NextKey(buffer, 0, false));
    try {
        m_dictionary.NextKey(buffer, 0, true);
        FAIL() << "the buffer has no room";
    } catch (const LXErrException& error) {
        EXPECT_EQ(error.code(), LXErrException::kBufferTooSmall);
        EXPECT_STREQ(error.what(), "lexkit: the buffer is too small");
    }
}

TEST_F(DictionaryTest, LeavesTextsThatWereLookedUpAliveWhenItEnds)
{
    auto dictionary = std::make_unique<lexkit::Dictionary>();
    readLines(*dictionary, u"k=value\n");
    const lexkit::ZString text = dictionary->Lookup("k", nullptr);
    dictionary.reset();
    EXPECT_EQ(textOf(text), u"value");
}

TEST_F(DictionaryTest, DoesNotReferToTheBlockAfterwards)
{
    std::string block = "k=value\n";
    m_dictionary.Read(block.data(), static_cast<int>(block.size()), false);
    std::fill(block.begin(), block.end(), '#');
    EXPECT_EQ(value("k"), u"value");
}

std::string written(const lexkit::Dictionary& dictionary, unsigned long* count = nullptr)
{
    std::ostringstream stream;
    const unsigned long result = dictionary.Serialize(stream, false, nullptr);
    if (count)
        *count = result;
    return stream.str();
}

TEST_F(DictionaryTest, WritesTheTextFormInHostOrder)
{
    readLines(m_dictionary, u"k=a\\nb\\rc\\\"d^^e\\\\f\n");
    unsigned long count = 0;
    const std::string file = written(m_dictionary, &count);
    EXPECT_EQ(file, utf16File(u"\"k=a\\nb\\rc\\\"d^e\\f\"\n"));
    EXPECT_EQ(count, file.size());
}

TEST_F(DictionaryTest, WritesAMarkAloneWhenItIsEmpty)
{
    EXPECT_EQ(written(m_dictionary), utf16File(u""));
}

TEST_F(DictionaryTest, WritesAnEmptyKeyWithoutQuoteMarkAndEqualsSign)
{
    readLines(m_dictionary, u"=v\n");
    EXPECT_EQ(written(m_dictionary), utf16File(u"v\"\n"));
}

TEST_F(DictionaryTest, WritesEachByteOfAKeyAsOneUnit)
{
    readLines(m_dictionary, u"k\u00E9=v\n");
    EXPECT_EQ(written(m_dictionary), utf16File(u"\"k\u00E9=v\"\n"));
}

} // namespace
