#include "mfx/engine/run/ProgressMeter.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

using namespace std::chrono_literals;

// A card with items of 1000, 3000 and 0 bytes, to be saved, or saved twice.
class ProgressMeterTest : public testing::Test {
protected:
    ProgressMeterTest()
    {
        for (const std::uint64_t size : {1000U, 3000U, 0U}) {
            card.items.emplace_back();
            card.items.back().status.size = size;
        }
    }

    CardContents card;
    const ProgressMeter::Clock::time_point start = ProgressMeter::Clock::now();
};

TEST_F(ProgressMeterTest, GrowsToTheBytesOfTheCardWhateverThePasses)
{
    for (const std::uint64_t passes : {2U, 4U}) {
        ProgressMeter meter(card, passes, start);
        EXPECT_EQ(meter.event(start).bytesTotal, 4000U);
        std::uint64_t last = 0;
        for (std::uint32_t item = 0; item < 3; ++item) {
            for (std::uint64_t pass = 0; pass < passes; ++pass) {
                meter.add(item, ProgressPhase::kCopy, card.items[item].status.size, start);
                EXPECT_GE(meter.event(start).bytesDone, last);
                last = meter.event(start).bytesDone;
            }
            meter.finish(item);
        }
        EXPECT_EQ(last, 4000U);
        EXPECT_EQ(meter.event(start).itemsDone, 3U);
        EXPECT_EQ(meter.event(start).itemsTotal, 3U);
    }
}

TEST_F(ProgressMeterTest, CountsAnItemWholeOnceItIsOver)
{
    ProgressMeter meter(card, 2, start);
    meter.add(0, ProgressPhase::kCopy, 400, start);
    EXPECT_EQ(meter.event(start).bytesDone, 200U);
    meter.finish(0);
    EXPECT_EQ(meter.event(start).bytesDone, 1000U) << "failed, or stood there already";
}

TEST_F(ProgressMeterTest, NeverCountsMoreThanThereIs)
{
    ProgressMeter meter(card, 2, start);
    for (int time = 0; time < 5; ++time)
        meter.add(1, ProgressPhase::kCopy, 3000, start);
    meter.finish(1);
    EXPECT_EQ(meter.event(start).bytesDone, 3000U);
}

TEST_F(ProgressMeterTest, TellsTheRateOfTheCardAndNotOfTheDisks)
{
    ProgressMeter meter(card, 4, start);
    meter.add(1, ProgressPhase::kCopy, 3000, start);
    meter.add(1, ProgressPhase::kProve, 3000, start);
    meter.add(1, ProgressPhase::kBackup, 6000, start);
    EXPECT_EQ(meter.event(start + 2s).rate, 1500U);
    EXPECT_EQ(meter.event(start + 9s).rate, 0U) << "nothing was read for a while";
}

TEST_F(ProgressMeterTest, TellsTheTimeThatIsLeftForAllTheWork)
{
    ProgressMeter meter(card, 2, start);
    EXPECT_FALSE(meter.event(start + 1s).secondsLeft) << "nobody knows yet";
    meter.add(0, ProgressPhase::kCopy, 1000, start + 1s);
    EXPECT_EQ(meter.event(start + 2s).secondsLeft, 14);
    EXPECT_FALSE(meter.event(start + 60s).secondsLeft) << "it stands still";
}

TEST_F(ProgressMeterTest, TellsWhatEverybodyWaitsFor)
{
    ProgressMeter meter(card, 2, start);
    EXPECT_EQ(meter.event(start).phase, ProgressPhase::kCopy);
    meter.add(0, ProgressPhase::kProve, 1, start);
    EXPECT_EQ(meter.event(start + 5s).phase, ProgressPhase::kProve) << "nothing else was begun";
    meter.enter(ProgressPhase::kBackup, start + 5s);
    EXPECT_EQ(meter.event(start + 5s).phase, ProgressPhase::kBackup);
    meter.add(1, ProgressPhase::kCopy, 1, start + 6s);
    EXPECT_EQ(meter.event(start + 6s).phase, ProgressPhase::kCopy) << "the card is at work";
    EXPECT_EQ(meter.event(start + 8s).phase, ProgressPhase::kBackup) << "no more";
    meter.leave();
    EXPECT_EQ(meter.event(start + 8s).phase, ProgressPhase::kCopy);
}

TEST_F(ProgressMeterTest, IsInAPhaseForTheLengthOfABlock)
{
    ProgressMeter meter(card, 2, start);
    {
        const PhaseScope scope(meter, ProgressPhase::kDelete);
        meter.add(0, ProgressPhase::kCopy, 1);
        EXPECT_EQ(meter.event(ProgressMeter::Clock::now() + 10s).phase, ProgressPhase::kDelete);
    }
    EXPECT_EQ(meter.event(ProgressMeter::Clock::now() + 10s).phase, ProgressPhase::kCopy);
}

TEST_F(ProgressMeterTest, IsDoneWithACardOfNothing)
{
    const CardContents empty;
    ProgressMeter meter(empty, 2, start);
    const ProgressEvent event = meter.event(start + 1s);
    EXPECT_EQ(event.bytesDone, 0U);
    EXPECT_EQ(event.bytesTotal, 0U);
    EXPECT_FALSE(event.secondsLeft);
}

} // namespace
} // namespace mfx
