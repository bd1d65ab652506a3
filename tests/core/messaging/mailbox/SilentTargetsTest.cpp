#include "messaging/mailbox/SilentTargets.h"

#include <string>

#include <gmock/gmock.h>

namespace {

using ScObjects::TevoroTalkData::SilentTargets;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr milliseconds kWhole{10'000};

} // namespace

TEST(SilentTargetsTest, LetASendWaitForAnyTargetAtFirst)
{
    const SilentTargets targets;
    EXPECT_EQ(targets.patienceFor("a-1.0", kWhole), kWhole);
    EXPECT_FALSE(targets.isSilent("a-1.0"));
}

TEST(SilentTargetsTest, LetNoSendWaitForOneThatHasNotRead)
{
    SilentTargets targets;
    targets.hasNotRead("a-1.0", milliseconds(100));
    EXPECT_TRUE(targets.isSilent("a-1.0"));
    EXPECT_EQ(targets.patienceFor("a-1.0", kWhole), milliseconds(0));
    EXPECT_EQ(targets.patienceFor("b-1.0", kWhole), kWhole - milliseconds(100));
}

// A process has as many names as it likes.
TEST(SilentTargetsTest, LetSendsWaitTenSecondsAMinuteForAllTogether)
{
    SilentTargets targets;
    targets.hasNotRead("a-1.0", milliseconds(4000));
    EXPECT_EQ(targets.patienceFor("b-1.0", kWhole), milliseconds(6000));
    EXPECT_EQ(targets.patienceFor("b-1.0", milliseconds(100)), milliseconds(100));
    targets.hasNotRead("b-1.0", milliseconds(6000));
    EXPECT_EQ(targets.patienceFor("c-1.0", kWhole), milliseconds(0));
    EXPECT_FALSE(targets.isSilent("c-1.0"));
}

TEST(SilentTargetsTest, LetSendsWaitAgainWhenItHasReadForWhatIsLeftOfTheMinute)
{
    SilentTargets targets;
    targets.hasNotRead("a-1.0", milliseconds(4000));
    targets.hasRead("a-1.0");
    EXPECT_FALSE(targets.isSilent("a-1.0"));
    EXPECT_EQ(targets.patienceFor("a-1.0", kWhole), milliseconds(6000));
    targets.hasNotRead("a-1.0", milliseconds(6000));
    targets.hasRead("a-1.0");
    EXPECT_EQ(targets.patienceFor("a-1.0", kWhole), milliseconds(0));
    // Less than nothing is nothing.
    EXPECT_EQ(targets.patienceFor("a-1.0", milliseconds(100)), milliseconds(0));
}

TEST(SilentTargetsTest, AreNamedWhileTheyAreSilent)
{
    SilentTargets targets;
    EXPECT_THAT(targets.names(), IsEmpty());
    targets.hasNotRead("b-1.0", milliseconds(100));
    targets.hasNotRead("a-1.0", milliseconds(100));
    EXPECT_THAT(targets.names(), ElementsAre("a-1.0", "b-1.0"));
    targets.hasRead("a-1.0");
    EXPECT_THAT(targets.names(), ElementsAre("b-1.0"));
}

TEST(SilentTargetsTest, ForgetWhenThereAreTooMany)
{
    SilentTargets targets;
    for (int i = 0; i <= 1000; ++i)
        targets.hasNotRead("a" + std::to_string(i), milliseconds(100));
    EXPECT_TRUE(targets.isSilent("a1000"));
    EXPECT_FALSE(targets.isSilent("a0"));
}
