// Random dictionaries through every form and back.

#include "core/strings/lexkit/DictionaryTexts.h"

#include <algorithm>
#include <map>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace lexkit_test;

using Texts = std::map<std::string, std::u16string>;

class RoundTripTest : public testing::TestWithParam<unsigned> {
protected:
    RoundTripTest()
        : m_random(GetParam())
    {
    }

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // No "=", which ends a key; no marks and nothing that ends a tag or a line.
    std::string randomKey()
    {
        static constexpr char kBytes[] = "/abcXYZ0129 ._-\xE9\x80";
        std::string key = "/";
        for (unsigned left = below(40); left > 0; --left)
            key += kBytes[below(sizeof kBytes - 1)];
        return key;
    }

    // Characters of all planes that come back as they are in every form.
    std::u16string randomValue()
    {
        std::u16string value;
        for (unsigned left = below(60); left > 0; --left) {
            switch (below(8)) {
            case 0:
                value += static_cast<char16_t>(0xD800 + below(0x400));
                value += static_cast<char16_t>(0xDC00 + below(0x400));
                break;
            case 1:
                value += static_cast<char16_t>(0x3000 + below(0x9000));
                break;
            case 2:
                value += u"\n\r\"=&%"[below(6)];
                break;
            default:
                value += u"abcdefgh ijklmnop/qrstuvwxyz"[below(28)];
            }
        }
        return value;
    }

    // As the file of a translator: CR, LF and quote marks with a backslash.
    static std::u16string line(const std::string& key, const std::u16string& value)
    {
        std::u16string text = u"\"";
        for (const char byte : key)
            text += static_cast<char16_t>(static_cast<unsigned char>(byte));
        text += u'=';
        for (const char16_t unit : value) {
            if (unit == u'\n' || unit == u'\r' || unit == u'"')
                text += u'\\';
            text += unit == u'\n' ? u'n' : unit == u'\r' ? u'r' : unit;
        }
        return text + u"\"\n";
    }

    void fill(lexkit::Dictionary& dictionary)
    {
        std::u16string lines;
        for (unsigned left = 1 + below(400); left > 0; --left) {
            const std::string key = randomKey();
            m_expected[key] = randomValue();
            lines += line(key, m_expected[key]);
        }
        readLines(dictionary, lines);
    }

    void expectSame(lexkit::Dictionary& dictionary)
    {
        EXPECT_TRUE(dictionary.IsValid());
        EXPECT_EQ(dictionary.NumKeys(), m_expected.size());
        for (const auto& [key, value] : m_expected)
            ASSERT_EQ(valueOf(dictionary, key), value) << key;
    }

    std::mt19937 m_random;
    Texts m_expected;
};

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTripTest, testing::Range(1u, 21u));

TEST_P(RoundTripTest, ComesBackFromTheTextForm)
{
    lexkit::Dictionary dictionary;
    fill(dictionary);
    expectSame(dictionary);
    std::ostringstream file;
    dictionary.Serialize(file, false, nullptr);
    for (auto* const read : {readBlock, readStream}) {
        lexkit::Dictionary again;
        read(again, file.str());
        expectSame(again);
    }
}

TEST_P(RoundTripTest, ComesBackFromTheBinaryForms)
{
    lexkit::Dictionary dictionary;
    fill(dictionary);
    const auto order = keysOf(dictionary);
    for (const lexkit::EncodingInfo* const encoding :
        {static_cast<decltype(&kUTF8)>(nullptr), &kUTF8}) {
        std::ostringstream file;
        dictionary.Compile(file, encoding);
        for (auto* const read : {readBlock, readStream}) {
            lexkit::Dictionary again;
            read(again, file.str());
            expectSame(again);
            EXPECT_EQ(keysOf(again), order);
        }
    }
}

TEST_P(RoundTripTest, SerializesForReadersOnABigEndianHostAlone)
{
    lexkit::Dictionary dictionary;
    fill(dictionary);
    std::ostringstream file;
    dictionary.Serialize(file, true, nullptr);
    lexkit::Dictionary again;
    readBlock(again, file.str());
    if (std::endian::native == std::endian::big)
        expectSame(again);
    else {
        EXPECT_FALSE(again.IsValid());
    }
}

// Any change of bytes gives a dictionary, valid or not, that can be asked and written.
TEST_P(RoundTripTest, SurvivesDamage)
{
    lexkit::Dictionary dictionary;
    fill(dictionary);
    std::ostringstream file;
    dictionary.Compile(file, GetParam() % 2 ? &kUTF8 : nullptr);
    for (int round = 0; round < 50; ++round) {
        std::string bytes = file.str();
        for (unsigned left = 1 + below(4); left > 0; --left)
            bytes[24 + below(static_cast<unsigned>(bytes.size()) - 24)] =
                static_cast<char>(below(256));
        for (auto* const read : {readBlock, readStream}) {
            lexkit::Dictionary damaged;
            read(damaged, bytes);
            EXPECT_LE(damaged.NumKeys(), bytes.size());
            for (const auto& [key, value] : m_expected)
                valueOf(damaged, key);
            std::ostringstream out;
            damaged.Serialize(out, false, nullptr);
        }
    }
}

} // namespace
