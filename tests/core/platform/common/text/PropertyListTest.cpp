#include "platform/common/text/PropertyList.h"

#include <string>

#include <gtest/gtest.h>

namespace {

std::string list(const std::string& inside)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist>\n<plist version=\"1.0\">\n"
           "<dict>\n"
        + inside + "\n</dict>\n</plist>\n";
}

std::string text(const std::string& bytes)
{
    return Pt::propertyListText(bytes, "Key").value_or("(nothing)");
}

} // namespace

TEST(PropertyListTest, FindsATextByItsKey)
{
    EXPECT_EQ(
        text(list("<key>Other</key><string>x</string>\n<key>Key</key>\n<string>a b</string>")),
        "a b");
    EXPECT_EQ(text(list("<key>Key</key><string>a &lt;&#228;&gt;</string>")), "a <\u00e4>");
    EXPECT_EQ(text(list("<key>Key</key><!-- why --><string>a</string>")), "a");
    EXPECT_EQ(text(list("<key>Key</key><string></string>")), "");
    EXPECT_EQ(text(list("<key>Key</key><string/>")), "");
}

TEST(PropertyListTest, FindsNothingWhereThereIsNoSuchText)
{
    for (const std::string& bytes : {std::string(),
             std::string("garbage"),
             std::string("\0\1\2", 3),
             list(""),
             list("<key>key</key><string>a</string>"),
             list("<key>Key </key><string>a</string>"),
             list("<key>Key</key>"),
             list("<key>Key</key><integer>3</integer>"),
             list("<key>Key</key><key>Other</key><string>a</string>"),
             list("<string>Key</string><string>a</string>"),
             list("<key>Inner</key><dict><key>Key</key><string>a</string></dict>"),
             std::string("<dict><key>Key</key><string>a</string></dict>"),
             std::string("<plist><array><key>Key</key><string>a</string></array></plist>")})
        EXPECT_EQ(text(bytes), "(nothing)") << bytes;
}

TEST(PropertyListTest, FindsNothingInAListThatIsCut)
{
    const std::string whole = list("<key>Key</key><string>a</string>");
    const std::size_t end = whole.rfind("</plist>") + 7;
    for (std::size_t length = 0; length < end; ++length)
        EXPECT_EQ(text(whole.substr(0, length)), "(nothing)") << length;
    EXPECT_EQ(text(whole), "a");
}

TEST(PropertyListTest, ReadsOtherEncodings)
{
    const std::string narrow = list("<key>Key</key><string>a</string>");
    std::string wide = "\xff\xfe";
    for (const char c : narrow)
        wide += std::string{c, '\0'};
    EXPECT_EQ(text(wide), "a");
}

TEST(PropertyListTest, SurvivesDepth)
{
    std::string deep;
    for (int i = 0; i < 100'000; ++i)
        deep += "<dict>";
    EXPECT_EQ(text("<plist>" + deep), "(nothing)");
}
