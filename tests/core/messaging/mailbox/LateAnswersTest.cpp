#include "messaging/mailbox/LateAnswers.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace {

using namespace ScObjects;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using TevoroTalkData::LateAnswers;

constexpr milliseconds kLong{60'000};

class LateAnswersTest : public testing::Test {
protected:
    // Tries all of them; only those for `open` find room.
    void retry(const std::string& open)
    {
        tried.clear();
        answers.retry(
            [&](const SoString& target, const SoString& text) {
                tried.emplace_back(text.view());
                return open.find(target.view()) != std::string::npos;
            },
            [&](const SoString& target) { givenUp.emplace_back(target.view()); });
    }

    LateAnswers answers;
    std::vector<std::string> tried;
    std::vector<std::string> givenUp;
};

} // namespace

TEST_F(LateAnswersTest, GoOutInOrderAndOnlyOnce)
{
    EXPECT_TRUE(answers.keep("a", "1", kLong));
    EXPECT_TRUE(answers.keep("a", "2", kLong));
    EXPECT_TRUE(answers.holdsFor("a"));
    EXPECT_FALSE(answers.holdsFor("b"));
    retry("a");
    EXPECT_THAT(tried, ElementsAre("1", "2"));
    EXPECT_TRUE(answers.isEmpty());
    retry("a");
    EXPECT_THAT(tried, IsEmpty());
}

TEST_F(LateAnswersTest, DoNotOvertakeEachOtherAndDoNotHoldUpOtherTargets)
{
    answers.keep("a", "1", kLong);
    answers.keep("a", "2", kLong);
    answers.keep("b", "3", kLong);
    retry("b");
    EXPECT_THAT(tried, ElementsAre("1", "3"));
    EXPECT_TRUE(answers.holdsFor("a"));
    EXPECT_FALSE(answers.holdsFor("b"));
    retry("ab");
    EXPECT_THAT(tried, ElementsAre("1", "2"));
}

TEST_F(LateAnswersTest, AreGivenUpWhenTheirTimeIsOver)
{
    answers.keep("a", "1", milliseconds(0));
    retry("a");
    EXPECT_THAT(tried, IsEmpty());
    EXPECT_THAT(givenUp, ElementsAre("a"));
    EXPECT_TRUE(answers.isEmpty());
}

TEST_F(LateAnswersTest, AreBoundedInNumberAndBytes)
{
    for (std::size_t i = 0; i < LateAnswers::kMaxTexts; ++i)
        EXPECT_TRUE(answers.keep("a", "x", kLong));
    EXPECT_FALSE(answers.keep("b", "x", kLong));
    retry("a");
    const SoString large{std::string_view(std::string(LateAnswers::kMaxBytes, 'x'))};
    EXPECT_TRUE(answers.keep("a", large, kLong));
    EXPECT_FALSE(answers.keep("a", "x", kLong));
    retry("a");
    EXPECT_TRUE(answers.keep("a", large, kLong));
}
