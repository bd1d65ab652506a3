#include "mfx/cli/ProgressLine.h"

#include "apps/mfx/texts/DictionaryFixture.h"
#include "mfx/texts/Columns.h"
#include "platform/common/text/NameText.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace mfx {
namespace {

const ProgressEvent kHalfway{500'000, 1'000'000, 3, 7, ProgressPhase::kCopy, 12'300'000, 95.2};

ProgressEvent halfWith(ProgressPhase phase, std::optional<double> secondsLeft)
{
    ProgressEvent event = kHalfway;
    event.phase = phase;
    event.secondsLeft = secondsLeft;
    return event;
}

template <typename Action>
std::string shownBy(Action action)
{
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

std::string shownAlone(const ProgressEvent& event)
{
    ProgressLine line(true);
    return shownBy([&] { line.show(event); });
}

TEST(ProgressLineTest, TellsShareItemsWorkRateAndTimeLeft)
{
    EXPECT_THAT(shownAlone(kHalfway),
        StartsWith("\r50%, 3 of 7 items, copying, 12.3 MB/s, 1 min 35 s left "));
}

TEST(ProgressLineTest, TellsWhatIsBeingDone)
{
    const std::pair<ProgressPhase, const char*> rows[] = {{ProgressPhase::kCopy, "copying"},
        {ProgressPhase::kProve, "proving"},
        {ProgressPhase::kBackup, "second copy"},
        {ProgressPhase::kConvert, "converting"},
        {ProgressPhase::kDelete, "deleting"}};
    for (const auto& [phase, word] : rows)
        EXPECT_THAT(shownAlone(halfWith(phase, 9)),
            StartsWith("\r50%, 3 of 7 items, " + std::string(word) + ", 12.3 MB/s, 9 s left"));
}

// Names are flushed, or a sidecar is proven, after all bytes were counted.
TEST(ProgressLineTest, NeverSaysThatNoTimeIsLeft)
{
    for (const std::optional<double> seconds : {std::optional<double>(), {0.0}, {0.4}, {0.99}})
        EXPECT_THAT(shownAlone(halfWith(ProgressPhase::kProve, seconds)),
            StartsWith("\r50%, 3 of 7 items, proving, 12.3 MB/s   "));
    EXPECT_THAT(shownAlone(halfWith(ProgressPhase::kProve, 1)), HasSubstr("MB/s, 1 s left"));
}

TEST(ProgressLineTest, IsDrawnAgainOnlyAfterAWhile)
{
    ProgressLine line(true);
    const std::string text = shownBy([&line] {
        for (int i = 0; i < 10; ++i)
            line.show(kHalfway);
    });
    EXPECT_LE(std::count(text.begin(), text.end(), '%'), 2);
}

TEST(ProgressLineTest, ShowsNothingWhereNobodyLooks)
{
    ProgressLine line(false);
    EXPECT_THAT(shownBy([&line] {
        line.show(kHalfway);
        line.clear();
    }),
        IsEmpty());
}

TEST(ProgressLineTest, GoesWithoutATraceAndOnlyOnce)
{
    ProgressLine line(true);
    EXPECT_THAT(shownBy([&line] { line.clear(); }), IsEmpty());
    shownBy([&line] { line.show(kHalfway); });
    EXPECT_EQ(shownBy([&line] { line.clear(); }), '\r' + std::string(79, ' ') + '\r');
    EXPECT_THAT(shownBy([&line] { line.clear(); }), IsEmpty());
}

TEST(ProgressLineTest, IsDoneWhereThereIsNothingToDo)
{
    ProgressLine line(true);
    EXPECT_THAT(shownBy([&line] { line.show({}); }), StartsWith("\r100%, 0 of 0 items"));
}

struct LanguageCase {
    const char* name;
    const char16_t* lines;
    const char* beginning;
};

constexpr LanguageCase kLanguages[] = {
    {"German",
        u"\"$$$/Mfx/Progress/DoingWithTime=%1 %, %2 von %3 Objekten, %4, %5/s, noch %6 – Größe "
        u"geprüft\"\n\"$$$/Mfx/Progress/Copying=Übertragung\"\n",
        "\r50 %, 3 von 7 Objekten, Übertragung, "},
    {"Japanese",
        u"\"$$$/Mfx/Progress/DoingWithTime=%1%、%3件中%2件、%4、%5/"
        u"秒、残り%6、写真を保存しています。しばらく"
        u"お待ちください。カードを取り出さないでください。\"\n",
        "\r50%、7件中3件、"},
};

class ProgressLanguageTest : public DictionaryFixture,
                             public testing::WithParamInterface<LanguageCase> { };

TEST_P(ProgressLanguageTest, FillsTheLineByColumnsAndNotByBytes)
{
    speak(GetParam().lines);
    ProgressLine line(true);
    const std::string text = shownBy([&line] { line.show(kHalfway); });
    EXPECT_THAT(text, StartsWith(GetParam().beginning));
    EXPECT_EQ(columnsOf(text.substr(1)), 79U) << text;
    EXPECT_TRUE(Pt::isUtf8(text)) << "no letter is cut in two";
    EXPECT_EQ(shownBy([&line] { line.clear(); }), '\r' + std::string(79, ' ') + '\r');
}

INSTANTIATE_TEST_SUITE_P(
    Languages, ProgressLanguageTest, testing::ValuesIn(kLanguages), [](const auto& row) {
        return std::string(row.param.name);
    });

} // namespace
} // namespace mfx
