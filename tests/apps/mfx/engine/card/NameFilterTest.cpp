#include "mfx/engine/card/NameFilter.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace mfx {
namespace {

struct Row {
    std::string glob;
    std::string name;
};

TEST(NameFilterTest, AcceptsEverythingWithoutGlobs)
{
    EXPECT_TRUE(NameFilter().accepts("IMG_1.JPG"));
    EXPECT_TRUE(NameFilter(std::vector<std::string>{}).accepts("\xFF"));
}

TEST(NameFilterTest, AcceptsWhatMatches)
{
    const std::vector<Row> rows{
        {"*", ""},
        {"*", "anything"},
        {"*.jpg", "IMG_1.JPG"},
        {"IMG_*.CR2", "img_0001.cr2"},
        {"IMG_???1.*", "IMG_0001.JPG"},
        {"*a*b*", "xxaxxbxx"},
        {"**", "a"},
        {"a**b", "ab"},
        {"?", "\xC3\xBC"}, // one character of two bytes
        {"?", "\xFF"}, // a byte that is none
        {"\xFF", "\xFF"},
        {"[abc]x", "bx"},
        {"[A-C]x", "bx"},
        {"[!a-c]x", "dx"},
        {"[^a-c]x", "dx"},
        {"[]]", "]"},
        {"[!]]", "a"},
        {"[a-]", "-"},
        {"[", "["}, // without its end an ordinary character
        {"a[b", "a[b"},
        {"[!", "[!"},
        {"\\*", "*"},
        {"\\[a]", "[a]"},
        {"a\\", "a\\"},
        {"[\xC3\xA0-\xC3\xBC]", "\xC3\xA9"},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(NameFilter({row.glob}).accepts(row.name)) << row.glob << " and " << row.name;
}

TEST(NameFilterTest, RefusesWhatDoesNotMatch)
{
    const std::vector<Row> rows{
        {"", "a"},
        {"a", ""},
        {"?", ""},
        {"*.jpg", "IMG_1.JPEG"},
        {"*.jpg", "IMG_1.jpg.xmp"},
        {"IMG_??.JPG", "IMG_1.JPG"},
        {"*a*b", "ba"},
        {"[abc]x", "dx"},
        {"[abc]", ""},
        {"[!a-c]x", "bx"},
        {"[c-a]", "b"}, // a range that holds nothing
        {"\\*", "a"},
        {"\xC3\xBC", "\xC3\x9C"},
        {"??", "\xC3\xBC"},
        {"\xFE", "\xFF"},
    };
    for (const Row& row : rows)
        EXPECT_FALSE(NameFilter({row.glob}).accepts(row.name)) << row.glob << " and " << row.name;
}

TEST(NameFilterTest, AcceptsWhatAnyGlobMatches)
{
    const NameFilter filter({"*.cr2", "*.jpg"});
    EXPECT_TRUE(filter.accepts("a.JPG"));
    EXPECT_TRUE(filter.accepts("a.CR2"));
    EXPECT_FALSE(filter.accepts("a.mov"));
}

TEST(NameFilterTest, EndsSoonOnAGlobOfManyStars)
{
    std::string glob;
    for (int i = 0; i < 60; ++i)
        glob += "a*";
    EXPECT_FALSE(NameFilter({glob + "b"}).accepts(std::string(255, 'a')));
}

} // namespace
} // namespace mfx
