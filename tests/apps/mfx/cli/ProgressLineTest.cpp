#include "mfx/cli/ProgressLine.h"

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

} // namespace
} // namespace mfx
