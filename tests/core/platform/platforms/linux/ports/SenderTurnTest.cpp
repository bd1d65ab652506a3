#include "platform/platforms/linux/ports/SenderTurn.h"

#include <gtest/gtest.h>

namespace {

constexpr int kFirst = 7;
constexpr int kSecond = 8;

class SenderTurnTest : public testing::Test {
protected:
    Pt::SenderTurn turn;
};

TEST_F(SenderTurnTest, IsNobodysAtFirst)
{
    EXPECT_EQ(turn.owner(), Pt::SenderTurn::kNobody);
    EXPECT_FALSE(turn.isLong());
    EXPECT_FALSE(turn.isAnothers(kFirst));
}

TEST_F(SenderTurnTest, StaysWithTheSenderThatWasBegun)
{
    turn.begin(kFirst);
    turn.took(1000);
    EXPECT_EQ(turn.owner(), kFirst);
    EXPECT_FALSE(turn.isAnothers(kFirst));
    EXPECT_TRUE(turn.isAnothers(kSecond));
}

TEST_F(SenderTurnTest, IsFreeOnceTheSenderHasNoMore)
{
    turn.begin(kFirst);
    turn.took(1000);
    turn.end();
    EXPECT_EQ(turn.owner(), Pt::SenderTurn::kNobody);
    EXPECT_FALSE(turn.isAnothers(kSecond));
}

TEST_F(SenderTurnTest, IsKeptUpToTheLimit)
{
    turn.begin(kFirst);
    turn.took(Pt::SenderTurn::kMaxBytes);
    EXPECT_FALSE(turn.isLong());
    EXPECT_EQ(turn.owner(), kFirst);
}

TEST_F(SenderTurnTest, IsGivenUpBeyondTheLimit)
{
    turn.begin(kFirst);
    turn.took(Pt::SenderTurn::kMaxBytes);
    turn.took(1);
    EXPECT_TRUE(turn.isLong());
    EXPECT_EQ(turn.owner(), Pt::SenderTurn::kNobody);
    EXPECT_FALSE(turn.isLong()) << "a turn that ended is not long";
}

TEST_F(SenderTurnTest, CountsOverSeveralCallsOfOneSender)
{
    for (int call = 0; call < 2; ++call) {
        turn.begin(kFirst);
        turn.took(Pt::SenderTurn::kMaxBytes / 2 + 1);
    }
    EXPECT_TRUE(turn.isLong());
}

TEST_F(SenderTurnTest, CountsAnewForTheNextSender)
{
    turn.begin(kFirst);
    turn.took(Pt::SenderTurn::kMaxBytes);
    turn.begin(kSecond);
    turn.took(1);
    EXPECT_FALSE(turn.isLong());
    EXPECT_EQ(turn.owner(), kSecond);
}

TEST_F(SenderTurnTest, CountsAnewForASenderThatComesBack)
{
    turn.begin(kFirst);
    turn.took(Pt::SenderTurn::kMaxBytes);
    turn.end();
    turn.begin(kFirst);
    turn.took(1);
    EXPECT_FALSE(turn.isLong());
}

} // namespace
