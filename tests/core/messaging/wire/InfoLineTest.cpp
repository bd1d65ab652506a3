#include "messaging/TevoroTalkUtils.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using ScObjects::SoString;
using ScObjects::TevoroTalkUtils::parseInfoLine;

struct Line {
    std::string path;
    std::string label;
    std::string value;
    bool hasChildren;

    bool operator==(const Line&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Line& line)
    {
        return out << line.path << '|' << line.label << '|' << line.value << '|'
                   << line.hasChildren;
    }
};

// Reads lines until one is none; what was left over goes to `rest`.
std::vector<Line> linesOf(const char* text, const char** rest = nullptr)
{
    std::vector<Line> lines;
    SoString path("left over"), label("left over"), value("left over");
    bool hasChildren = false;
    for (;;) {
        const char* const next = parseInfoLine(text, path, label, value, hasChildren);
        if (next == nullptr)
            break;
        lines.push_back({path.get(), label.get(), value.get(), hasChildren});
        text = next;
    }
    if (rest != nullptr)
        *rest = text;
    return lines;
}

std::optional<Line> lineOf(const char* text)
{
    const auto lines = linesOf(text);
    return lines.empty() ? std::nullopt : std::optional(lines.front());
}

} // namespace

TEST(InfoLineTest, ReadsOneLineAfterTheOther)
{
    const char* const text = "/a;1;Label;value;\n/b;0;Other;;\n";
    SoString path, label, value;
    bool hasChildren = false;
    const char* const next = parseInfoLine(text, path, label, value, hasChildren);
    ASSERT_NE(next, nullptr);
    EXPECT_STREQ(next, "/b;0;Other;;\n");
    EXPECT_EQ(path, "/a");
    EXPECT_EQ(label, "Label");
    EXPECT_EQ(value, "value");
    EXPECT_TRUE(hasChildren);

    const char* rest = nullptr;
    EXPECT_EQ(linesOf(next, &rest), (std::vector<Line>{{"/b", "Other", "", false}}));
    EXPECT_STREQ(rest, "");
}

TEST(InfoLineTest, TakesAValueThatNothingCloses)
{
    EXPECT_EQ(lineOf("/a;0;Label;value"), (Line{"/a", "Label", "value", false}));
    EXPECT_EQ(lineOf("/a;0;Label;value\nz"), (Line{"/a", "Label", "value", false}));
    EXPECT_EQ(lineOf("/a;0;Label;"), (Line{"/a", "Label", "", false}));
}

TEST(InfoLineTest, EndsTheValueAtItsFirstSemicolon)
{
    EXPECT_EQ(lineOf("/a;0;Label;one;two;three;\n"), (Line{"/a", "Label", "one", false}));
}

TEST(InfoLineTest, EndsEveryFieldAtTheEndOfTheLine)
{
    EXPECT_EQ(lineOf("/a;0\n;Label;value;\n"), std::nullopt);
    EXPECT_EQ(lineOf("/a;0;Label\n;value;\n"), std::nullopt);
    EXPECT_EQ(lineOf("/a\n;0;Label;value;\n"), std::nullopt);
}

TEST(InfoLineTest, IsNoLineForAnythingElse)
{
    for (const char* const text : {"",
             "\n",
             "\n/a;1;Label;value;\n",
             "no field at all",
             ";",
             ";;;;",
             ";1;Label;value;",
             "/a",
             "/a;",
             "/a;1",
             "/a;1;",
             "/a;1;;value;",
             "/a;1;Label",
             "/a;;Label;value;",
             "/a;2;Label;value;",
             "/a;11;Label;value;",
             "/a;-1;Label;value;",
             "/a; 1;Label;value;",
             "/a;true;Label;value;",
             "/a;Label;value;"})
        EXPECT_EQ(lineOf(text), std::nullopt) << text;
}

TEST(InfoLineTest, KeepsNothingOfTheLineBefore)
{
    SoString path("old"), label("old"), value("old");
    bool hasChildren = false;
    EXPECT_EQ(parseInfoLine("", path, label, value, hasChildren), nullptr);
    EXPECT_TRUE(path.isEmpty());
    EXPECT_TRUE(label.isEmpty());
    EXPECT_TRUE(value.isEmpty());
}

TEST(InfoLineTest, StopsBeforeTheFirstLineThatIsNone)
{
    const char* rest = nullptr;
    EXPECT_EQ(linesOf("/a;1;A;;\nbroken\n/b;1;B;;\n", &rest).size(), 1U);
    EXPECT_STREQ(rest, "broken\n/b;1;B;;\n");
}

TEST(InfoLineTest, ReadsAnyCutOfALineWithoutLookingBehindIt)
{
    const std::string whole = "/a;1;Label;value;";
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        // An exact copy, so that a sanitizer sees a byte too many.
        std::vector<char> exact(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        exact.push_back('\0');
        const bool isLine = length >= std::string("/a;1;Label;").size();
        EXPECT_EQ(lineOf(exact.data()).has_value(), isLine) << length;
    }
}
