#include "mfx/cli/ProgressLine.h"

#include "apps/mfx/texts/DictionaryFixture.h"
#include "commandline/NameText.h"
#include "mfx/texts/Columns.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace mfx {
namespace {

constexpr ProgressEvent kHalf{500'000, 1'000'000, 3, 7};

template <typename Action>
std::string shownBy(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

TEST(ProgressLineTest, TellsShareItemsRateAndTimeLeft)
{
    ProgressLine line(true);
    const std::string text = shownBy([&line] { line.show(kHalf); });
    EXPECT_THAT(text, StartsWith("\r50%, 3 of 7 items, "));
    EXPECT_THAT(text, HasSubstr("B/s"));
    EXPECT_THAT(text, HasSubstr(" left"));
}

TEST(ProgressLineTest, IsDrawnAgainOnlyAfterAWhile)
{
    ProgressLine line(true);
    const std::string text = shownBy([&line] {
        for (int i = 0; i < 10; ++i)
            line.show(kHalf);
    });
    EXPECT_LE(std::count(text.begin(), text.end(), '%'), 2);
}

TEST(ProgressLineTest, ShowsNothingWhereNobodyLooks)
{
    ProgressLine line(false);
    EXPECT_THAT(shownBy([&line] {
        line.show(kHalf);
        line.clear();
    }),
        IsEmpty());
}

TEST(ProgressLineTest, GoesWithoutATraceAndOnlyOnce)
{
    ProgressLine line(true);
    EXPECT_THAT(shownBy([&line] { line.clear(); }), IsEmpty());
    shownBy([&line] { line.show(kHalf); });
    EXPECT_EQ(shownBy([&line] { line.clear(); }), '\r' + std::string(79, ' ') + '\r');
    EXPECT_THAT(shownBy([&line] { line.clear(); }), IsEmpty());
}

TEST(ProgressLineTest, IsDoneWhereThereIsNothingToDo)
{
    ProgressLine line(true);
    EXPECT_THAT(shownBy([&line] { line.show({0, 0, 0, 0}); }), StartsWith("\r100%, 0 of 0 items"));
}

struct LanguageCase {
    const char* name;
    const char16_t* lines;
    const char* beginning;
};

constexpr LanguageCase kLanguages[] = {
    {"German",
        u"\"$$$/Mfx/Progress/LineWithTime=%1 %, %2 von %3 Objekten, %4/s, noch %5 – Größe "
        u"geprüft\"\n",
        "\r50 %, 3 von 7 Objekten, "},
    {"Japanese",
        u"\"$$$/Mfx/Progress/LineWithTime=%1%、%3件中%2件、%4/"
        u"秒、残り%5、写真を保存しています。しばらく"
        u"お待ちください。カードを取り出さないでください。\"\n",
        "\r50%、7件中3件、"},
};

class ProgressLanguageTest : public DictionaryFixture,
                             public testing::WithParamInterface<LanguageCase> { };

TEST_P(ProgressLanguageTest, FillsTheLineByColumnsAndNotByBytes)
{
    speak(GetParam().lines);
    ProgressLine line(true);
    const std::string text = shownBy([&line] { line.show(kHalf); });
    EXPECT_THAT(text, StartsWith(GetParam().beginning));
    EXPECT_EQ(columnsOf(text.substr(1)), 79U) << text;
    EXPECT_TRUE(commandline::isUtf8(text)) << "no letter is cut in two";
    EXPECT_EQ(shownBy([&line] { line.clear(); }), '\r' + std::string(79, ' ') + '\r');
}

INSTANTIATE_TEST_SUITE_P(
    Languages, ProgressLanguageTest, testing::ValuesIn(kLanguages), [](const auto& row) {
        return std::string(row.param.name);
    });

} // namespace
} // namespace mfx
