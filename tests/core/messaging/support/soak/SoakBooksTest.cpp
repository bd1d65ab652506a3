// The books of the soak notice what is wrong with the bus, and take only what is a reason.
#include "core/messaging/support/soak/SoakBooks.h"

#include <algorithm>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

// In milliseconds, from a whole second on.
long at(long milliseconds)
{
    return 1000 * kSecond + milliseconds * (kSecond / 1000);
}

// Peer 0, process 100, sends to peer 1, process 200: a plain message, one that asks, one with a
// time-out of a second, a forged one, and a plain one, 100 milliseconds apart.
class SoakBooksTest : public testing::Test {
protected:
    static constexpr int kPlain = 1;
    static constexpr int kAsked = 2;
    static constexpr int kTimed = 3;
    static constexpr int kForged = 4;
    static constexpr int kLast = 5;

    SoakBooksTest()
    {
        events.lives = {{0, 100, at(-2000), at(-1500), at(90000), at(90000), false},
            {1, 200, at(-2000), at(-1500), at(90000), at(90000), false}};
        const int kinds[] = {0, 1, 2, 3, 0};
        for (int i = kPlain; i <= kLast; ++i) {
            sent(i, kinds[i - 1], 0);
            sender.push_back(line("D", i, "", 100 * i + 10));
            if (i != kForged)
                target.push_back(line("H", i, "200", 100 * i + 20));
        }
        for (const int i : {kAsked, kTimed}) {
            sender.push_back(line("A", i, "result", 100 * i + 30));
            sender.push_back(line("A", i, "processed", 100 * i + 40));
        }
        sender.push_back(line("A", kForged, "error", 430));
    }

    static std::string line(const char* step, int count, const std::string& word, long time)
    {
        return std::string(step) + " 0.100." + std::to_string(count) + " " + word + " "
            + std::to_string(at(time));
    }
    void sent(int count, int kind, int flood)
    {
        sender.push_back(line(
            "S", count, "1 " + std::to_string(kind) + " " + std::to_string(flood), 100 * count));
    }

    // Takes the lines of that beginning out.
    static void drop(std::vector<std::string>& record, const std::string& start)
    {
        ASSERT_NE(
            std::erase_if(record, [&](const std::string& line) { return line.starts_with(start); }),
            0u);
    }
    void kill(int life, long time)
    {
        events.lives[static_cast<std::size_t>(life)].ending = at(time);
        events.lives[static_cast<std::size_t>(life)].end = at(time);
        events.lives[static_cast<std::size_t>(life)].wasKilled = true;
    }

    SoakBooks books() const
    {
        SoakBooks result;
        read(result, 0, sender);
        read(result, 1, target);
        result.addUp(events);
        return result;
    }
    std::vector<std::string> faults() const { return books().faults(); }

    SoakEvents events;
    std::vector<std::string> sender;
    std::vector<std::string> target;

private:
    static void read(SoakBooks& books, int number, const std::vector<std::string>& lines)
    {
        std::stringstream record;
        for (const std::string& line : lines)
            record << line << '\n';
        books.read(number, record);
    }
};

TEST_F(SoakBooksTest, FindNothingWhereAllIsWell)
{
    const SoakBooks whole = books();
    EXPECT_THAT(whole.faults(), IsEmpty());
    EXPECT_EQ(whole.sums().at("sent"), 5);
    EXPECT_EQ(whole.sums().at("handled"), 4);
    EXPECT_EQ(whole.sums().at("rejected"), 1);
}

TEST_F(SoakBooksTest, NoticeAMessageThatIsLost)
{
    drop(target, "H 0.100.1 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("0.100.1 of kind 0 to 1 was lost")));
}

TEST_F(SoakBooksTest, NoticeTheLastMessageThatIsLost)
{
    drop(target, "H 0.100.5 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("was lost")));
}

TEST_F(SoakBooksTest, NoticeAMessageThatIsHandledTwice)
{
    target.push_back(line("H", kLast, "200", 600));
    EXPECT_THAT(faults(), Contains(HasSubstr("was handled twice")));
}

TEST_F(SoakBooksTest, NoticeMessagesThatChangePlaces)
{
    std::swap(target[0], target[1]);
    EXPECT_THAT(faults(), Contains(HasSubstr("was overtaken")));
}

TEST_F(SoakBooksTest, NoticeAMessageThatCameToAnother)
{
    sender.push_back(line("H", kPlain, "100", 120));
    EXPECT_THAT(faults(), Contains(HasSubstr("was handled by another one")));
}

TEST_F(SoakBooksTest, NoticeWhatNobodySent)
{
    target.push_back(line("H", 77, "200", 600));
    EXPECT_THAT(faults(), Contains(HasSubstr("was never sent")));
}

TEST_F(SoakBooksTest, NoticeAMissingResult)
{
    drop(sender, "A 0.100.2 result");
    EXPECT_THAT(faults(), Contains(HasSubstr("has no result")));
    drop(sender, "A 0.100.2 processed");
    EXPECT_THAT(faults(), Contains(HasSubstr("has no result")));
}

TEST_F(SoakBooksTest, NoticeAMissingCompletion)
{
    drop(sender, "A 0.100.2 processed");
    EXPECT_THAT(faults(), Contains(HasSubstr("has no completion")));
}

TEST_F(SoakBooksTest, NoticeAnAnswerThatCameTwice)
{
    sender.push_back(line("A", kAsked, "result", 600));
    EXPECT_THAT(faults(), Contains(HasSubstr("has the same answer twice")));
}

TEST_F(SoakBooksTest, NoticeATimeOutAlthoughThereIsAResult)
{
    drop(sender, "A 0.100.3 processed");
    sender.push_back(line("A", kTimed, "timeout", 2300));
    EXPECT_THAT(faults(), Contains(HasSubstr("timed out although it was handled in time")));
}

TEST_F(SoakBooksTest, NoticeATimeOutBeforeItsTime)
{
    drop(target, "H 0.100.3 ");
    drop(sender, "A 0.100.3 ");
    sender.push_back(line("A", kTimed, "timeout", 900));
    EXPECT_THAT(faults(), Contains(HasSubstr("timed out before its time")));
}

TEST_F(SoakBooksTest, NoticeALostMessageBehindItsTimeOut)
{
    // The next message was handled before the second was over, so this one was there in time.
    drop(target, "H 0.100.3 ");
    drop(sender, "A 0.100.3 ");
    sender.push_back(line("A", kTimed, "timeout", 2300));
    EXPECT_THAT(faults(), Contains(HasSubstr("was lost")));
    // If it was handled later, it may be that this one was too late.
    drop(target, "H 0.100.5 ");
    target.push_back(line("H", kLast, "200", 1100));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(SoakBooksTest, NoticeARefusalWithoutAReason)
{
    drop(sender, "D 0.100.5 ");
    sender.push_back(line("F", kLast, "", 510));
    EXPECT_THAT(faults(), Contains(HasSubstr("was refused and handled")));
    drop(target, "H 0.100.5 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("was refused without a reason")));
    events.away[1] = {{at(400), at(1400)}};
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(SoakBooksTest, NoticeASendThatNeverReturned)
{
    drop(sender, "D 0.100.4 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("was neither delivered nor refused")));
}

TEST_F(SoakBooksTest, NoticeAForgedMessage)
{
    target.insert(target.begin() + 3, line("H", kForged, "200", 420));
    EXPECT_THAT(faults(), Contains(HasSubstr("is no script and was handled")));
}

TEST_F(SoakBooksTest, NoticeAnswersToWhatWasNotHandled)
{
    drop(target, "H 0.100.2 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("was not handled and is completed")));
}

TEST_F(SoakBooksTest, NoticeAMissingError)
{
    drop(sender, "A 0.100.4 ");
    EXPECT_THAT(faults(), Contains(HasSubstr("was rejected without an error")));
}

TEST_F(SoakBooksTest, TakeAKillOfTheHolderForAReason)
{
    drop(target, "H 0.100.5 ");
    kill(1, 600);
    EXPECT_THAT(faults(), IsEmpty());
    EXPECT_EQ(books().sums().at("lost with a holder"), 1);
}

TEST_F(SoakBooksTest, TakeNoKillForAReasonWhenALaterMessageWasHandled)
{
    drop(target, "H 0.100.1 ");
    kill(1, 600);
    EXPECT_THAT(faults(), Contains(HasSubstr("was lost")));
}

TEST_F(SoakBooksTest, TakeAKillOfTheHolderForAReasonOnlySoonAfterItsWork)
{
    drop(sender, "A 0.100.2 processed");
    kill(1, 600);
    EXPECT_THAT(faults(), IsEmpty());
    kill(1, 5000);
    EXPECT_THAT(faults(), Contains(HasSubstr("has no completion")));
    events.stops[1] = {{at(300), at(4900)}};
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(SoakBooksTest, TakeAPauseForAReasonOfATimeOutBehindAResult)
{
    drop(sender, "A 0.100.3 processed");
    sender.push_back(line("A", kTimed, "timeout", 2300));
    EXPECT_THAT(faults(), Contains(HasSubstr("timed out although")));
    sender.push_back("P 100 " + std::to_string(at(400)) + " " + std::to_string(at(2200)));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(SoakBooksTest, TakeABacklogForAReasonOfATimeOutBehindAResult)
{
    drop(sender, "A 0.100.3 processed");
    sender.push_back(line("A", kTimed, "timeout", 2300));
    sender.push_back("B 100 " + std::to_string(at(400)) + " " + std::to_string(at(2200)));
    // It had read all that was there before the time-out.
    EXPECT_THAT(faults(), Contains(HasSubstr("timed out although")));
    sender.back() = "B 100 " + std::to_string(at(400)) + " " + std::to_string(at(2310));
    EXPECT_THAT(faults(), IsEmpty());
    sender.pop_back();
    target.push_back("B 200 " + std::to_string(at(400)) + " " + std::to_string(at(2310)));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(SoakBooksTest, TakeAnAskerWithoutFilesForAReason)
{
    drop(sender, "A 0.100.2 ");
    events.away[0] = {{at(100), at(1100)}};
    EXPECT_THAT(faults(), IsEmpty());
    EXPECT_EQ(books().sums().at("result missing: the asker's files were gone"), 1);
    events.away[0] = {{at(100), at(150)}};
    EXPECT_THAT(faults(), Contains(HasSubstr("has no result")));
}

TEST_F(SoakBooksTest, TakeAFloodInWhichTheHolderWaitedForAReason)
{
    drop(sender, "A 0.100.2 ");
    drop(sender, "S 0.100.5 ");
    sent(kLast, 0, 1);
    // Steps come after what was sent.
    std::stable_partition(sender.begin(), sender.end(), [](const std::string& line) {
        return line.starts_with('S');
    });
    // A flood alone is none: the holder has to have waited in vain.
    EXPECT_THAT(faults(), Contains(HasSubstr("has no result")));
    target.push_back("P 200 " + std::to_string(at(510)) + " " + std::to_string(at(10511)));
    EXPECT_THAT(faults(), IsEmpty());
    EXPECT_EQ(books().sums().at("result missing: there was a flood between both"), 1);
}

} // namespace
} // namespace test
