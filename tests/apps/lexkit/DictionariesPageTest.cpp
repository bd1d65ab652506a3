// The page on dictionary forms says what the library and the command do.

#include "apps/lexkit/LexkitRun.h"
#include "core/strings/lexkit/DictionaryTexts.h"

#include <map>
#include <regex>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using namespace lexkit_test;

class DictionariesPageTest : public lexkit_test::LexkitRun {
protected:
    // The fenced block with that heading, such as "dct text".
    std::string block(const std::string& heading) const
    {
        const std::string fence = "```" + heading + "\n";
        const std::size_t start = m_page.find(fence);
        if (start == std::string::npos) {
            ADD_FAILURE() << "the page has no block " << heading;
            return {};
        }
        const std::size_t from = start + fence.size();
        return m_page.substr(from, m_page.find("```", from) - from);
    }

    // The bytes of a block with an offset, up to 16 bytes and their characters in each line.
    std::string bytes(const std::string& heading) const
    {
        std::string result;
        std::istringstream lines(block(heading));
        for (std::string line; std::getline(lines, line);) {
            EXPECT_EQ(std::stoul(line.substr(0, 4), nullptr, 16), result.size());
            std::istringstream columns(line.substr(6, 47));
            for (std::string column; columns >> column;)
                result += static_cast<char>(std::stoul(column, nullptr, 16));
        }
        return result;
    }

    const std::string m_page = test::read(TEVORO_SOURCE_DIR "/docs/dictionaries.md");
};

std::u16string converted(const std::u16string& text)
{
    lexkit::Dictionary dictionary;
    readLines(dictionary, u"k=" + text);
    return valueOf(dictionary, "k");
}

std::u16string wide(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

TEST_F(DictionariesPageTest, ShowsWhatTheCommandListsOfTheExample)
{
    write("text.dct", block("dct text"));
    const RunResult run = lexkit("list --json text.dct");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, block("json text"));
}

TEST_F(DictionariesPageTest, ShowsTheBytesOfVersion15)
{
    write("text.dct", block("dct binary"));
    ASSERT_EQ(lexkit("compile text.dct a.dct").code, 0);
    EXPECT_EQ(read("a.dct"), bytes("hex 1.5-utf16"));
    ASSERT_EQ(lexkit("compile --utf8 text.dct a.dct").code, 0);
    EXPECT_EQ(read("a.dct"), bytes("hex 1.5-utf8"));
}

TEST_F(DictionariesPageTest, ShowsBytesOfVersion10ThatReadAsTheSameDictionary)
{
    if (std::endian::native != std::endian::little) {
        GTEST_SKIP() << "the example is for little-endian machines";
    }
    write("text.dct", block("dct binary"));
    write("a.dct", bytes("hex 1.0-little"));
    const RunResult run = lexkit("list a.dct");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, lexkit("list text.dct").out);
}

TEST_F(DictionariesPageTest, ListsTheEscapesAndWhatTheyGive)
{
    const std::regex row(R"re(\| `([^`]+)` \| U\+([0-9A-F]{4}) \|)re");
    int count = 0;
    for (std::sregex_iterator at(m_page.begin(), m_page.end(), row), end; at != end; ++at) {
        const auto unit = static_cast<char16_t>(std::stoul((*at)[2].str(), nullptr, 16));
        EXPECT_EQ(converted(wide((*at)[1].str())), std::u16string(1, unit)) << (*at)[1];
        ++count;
    }
    EXPECT_EQ(count, 5 + 16 + 2); // two tables, and each prefix by itself
}

TEST_F(DictionariesPageTest, ListsTheNamesOfReferencesAndWhatTheyGive)
{
    std::istringstream names(block("names"));
    int count = 0;
    for (std::string word; names >> word; ++count) {
        const std::size_t equals = word.find('=');
        const auto unit = static_cast<char16_t>(std::stoul(word.substr(equals + 1), nullptr, 16));
        EXPECT_EQ(converted(u"#{" + wide(word.substr(0, equals)) + u"}"), std::u16string(1, unit))
            << word;
    }
    EXPECT_EQ(count, 129); // of 132 rows, three match nothing
    for (const auto* const name : {u"#{yen}", u"#{ouml}", u"#{zwnj}", u"#{plusmn}"})
        EXPECT_EQ(converted(name), name);
}

} // namespace
