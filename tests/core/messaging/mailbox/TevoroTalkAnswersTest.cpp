// What two processes tell each other about a message.
#include "core/messaging/support/BusProcessFixture.h"

#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using test::PeerProcess;
using testing::ElementsAre;
using testing::IsEmpty;

class TevoroTalkAnswersTest : public test::BusProcessFixture {
protected:
    TevoroTalkAnswersTest()
        : target(peer("peer-1.0"))
    {
    }
    ~TevoroTalkAnswersTest() override { EXPECT_TRUE(!target || target->finish() == 0); }

    // Sends a message that asks for that, and makes sure that the target gets it.
    std::unique_ptr<Message> ask(const std::string& asked, std::int32_t timeout = 0)
    {
        auto message = request("peer-1.0", "text", asked);
        message->timeout = timeout;
        EXPECT_TRUE(send(*self, *message));
        return message;
    }
    void expectNumber(const Message& message) const
    {
        for (const Inbox::Entry& entry : inbox.entries()) {
            EXPECT_EQ(entry.serialNumber, message.serialNumber);
            EXPECT_EQ(entry.sender, "peer-1.0");
            EXPECT_EQ(entry.target, "self-1.0");
        }
    }

    Peer target;
};

} // namespace

TEST_F(TevoroTalkAnswersTest, ComeInOrderUnderTheNumberOfTheRequest)
{
    start();
    const auto message = ask("Received Result Error");
    await(3);
    EXPECT_THAT(inbox.words(), ElementsAre("2 Quillscriber", "3 Quillscriber done", "0 Processed"));
    expectNumber(*message);
    EXPECT_EQ(target->line(),
        "got 1 Quillscriber " + std::to_string(message->serialNumber) + " self-1.0 text");
}

TEST_F(TevoroTalkAnswersTest, AreErrorsWhereTheHandlerSaysSo)
{
    start();
    tell(*target, "answer -17 no such folder");
    const auto message = ask("Result Error");
    await(2);
    EXPECT_THAT(inbox.words(), ElementsAre("4 Quillscriber no such folder", "0 Processed"));
    EXPECT_EQ(inbox.at(0).errorCode, "-17");
    expectNumber(*message);
}

TEST_F(TevoroTalkAnswersTest, AreErrorsWhereTheHandlerThrows)
{
    start();
    tell(*target, "answer throw");
    const auto message = ask("Result Error");
    await(2);
    EXPECT_THAT(inbox.words(), ElementsAre("4 Quillscriber Exception", "0 Processed"));
    EXPECT_EQ(inbox.at(0).errorCode, "-29");
    expectNumber(*message);
    // It lives.
    tell(*target, "answer 0 still here");
    ask("Result");
    await(3);
    EXPECT_EQ(inbox.at(2).body, "still here");
}

TEST_F(TevoroTalkAnswersTest, AreErrorsToWhoeverHasNotTheUsersSalt)
{
    environment.set("HOME", folder.path()); // for this process, not for the other
    start();
    Message::setAuthentication(false); // or the answer is not believed, either
    const auto message = ask("Result Error");
    await(2);
    EXPECT_THAT(
        inbox.words(), ElementsAre("4 Quillscriber ERROR: MESSAGE REJECTED", "0 Processed"));
    EXPECT_EQ(inbox.at(0).errorCode, "53");
    expectNumber(*message);
    target->tell("serial");
    EXPECT_FALSE(target->line().starts_with("got"));
}

TEST_F(TevoroTalkAnswersTest, EndAWaitForThem)
{
    start();
    const auto message = request("peer-1.0", "text", "Result");
    message->serialNumber = 77;
    self->changeHandler(new InboxHandler(inbox, "Own", 77));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(self->send(*message, false, 60, nullptr));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience);
    EXPECT_THAT(inbox.words(), ElementsAre("3 Quillscriber done", "0 Processed"));
}

TEST_F(TevoroTalkAnswersTest, ComeToAHostThatHandsItsPicturesOn)
{
    const Peer browser = peer("tevoro");
    EXPECT_TRUE(TevoroTalk::InitTerm::init("mfx-4.0", false));
    self = new TevoroTalk("mfx-4.0", new InboxHandler(inbox), true, nullptr);
    const TevoroTalk::Specifier specifier("tevoro", true);
    EXPECT_TRUE(specifier.isRunning());
    const auto message = request("tevoro", "app.beep();'done';", "Result");
    EXPECT_TRUE(self->send(*message, true, 300, nullptr));
    await(2);
    EXPECT_THAT(inbox.words(), ElementsAre("3 Quillscriber done", "0 Processed"));
    EXPECT_THAT(browser->line(), testing::EndsWith(" mfx-4.0 app.beep();'done';"));
    EXPECT_EQ(browser->finish(), 0);
    EXPECT_FALSE(specifier.isRunning());
    EXPECT_FALSE(specifier.isInstalled());
}

TEST_F(TevoroTalkAnswersTest, AreTimeOutsOfTheTargetsQueueAndCancelTheWatch)
{
    start();
    tell(*target, "pump off");
    const auto message = ask("Timeout", 1);
    EXPECT_THAT(queued(*self, "in", "Type"), ElementsAre("Ignore"));
    await(1);
    EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
    expectNumber(*message);
    EXPECT_THAT(queued(*self, "in", "Type"), IsEmpty());
}

TEST_F(TevoroTalkAnswersTest, AreTimeOutsOfTheTargetAloneWhereItIsToWatch)
{
    start();
    tell(*target, "pump off");
    const auto message = request("peer-1.0", "text", "Timeout");
    message->timeout = 1;
    message->setHeader("TIMEOUT_DETECTOR", "TARGET");
    EXPECT_TRUE(send(*self, *message));
    EXPECT_THAT(queued(*self, "in", "Type"), IsEmpty());
    await(1);
    EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
    expectNumber(*message);
}

TEST_F(TevoroTalkAnswersTest, AreTimeOutsOfTheSenderAloneWhereItIsToWatch)
{
    start();
    tell(*target, "pump off");
    const auto message = request("peer-1.0", "text", "Timeout");
    message->timeout = 1;
    message->setHeader("TIMEOUT_DETECTOR", "SENDER");
    EXPECT_TRUE(send(*self, *message));
    await(1);
    EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
    EXPECT_EQ(inbox.at(0).sender, "self-1.0");
    EXPECT_EQ(inbox.at(0).serialNumber, message->serialNumber);
    EXPECT_GE(now(), message->timestamp + 2);
}

TEST_F(TevoroTalkAnswersTest, AreTimeOutsAlsoWhenTheTargetWasKilled)
{
    start();
    tell(*target, "pump off");
    const auto message = ask("Timeout", 1);
    target->kill();
    target.reset();
    await(1);
    EXPECT_THAT(inbox.words(), ElementsAre("5 Timeout"));
    EXPECT_EQ(inbox.at(0).sender, "self-1.0");
    EXPECT_EQ(inbox.at(0).serialNumber, message->serialNumber);
}

TEST_F(TevoroTalkAnswersTest, GoBothWaysAtOnce)
{
    constexpr long kCount = 3000;
    const Peer other = peer("other-1.0");
    for (PeerProcess* const each : {target.get(), other.get()})
        tell(*each, "count " + std::to_string(kCount));
    target->tell("stream other-1.0 " + std::to_string(kCount));
    other->tell("stream peer-1.0 " + std::to_string(kCount));
    for (PeerProcess* const each : {target.get(), other.get()}) {
        const std::vector<std::string> said = {each->line(), each->line()};
        EXPECT_THAT(said,
            testing::UnorderedElementsAre(
                "streamed " + std::to_string(kCount), "counted " + std::to_string(kCount)));
    }
    EXPECT_EQ(other->finish(), 0);
}

TEST_F(TevoroTalkAnswersTest, ComeToManyThreadsThatSendWhileOnePumps)
{
    constexpr int kThreads = 8;
    constexpr int kEach = 200;
    start();
    tell(*target, "count 100000"); // or it would tell of each
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < kEach; ++n) {
                const auto message = request("peer-1.0", "text", "Result");
                EXPECT_TRUE(send(*self, *message));
            }
        });
    await(std::size_t{2} * kThreads * kEach);
    for (std::thread& thread : threads)
        thread.join();
    std::map<std::uint32_t, int> answers;
    for (const Inbox::Entry& entry : inbox.entries())
        ++answers[entry.serialNumber];
    EXPECT_EQ(answers.size(), std::size_t{kThreads} * kEach);
    for (const auto& [number, count] : answers)
        EXPECT_EQ(count, 2) << number;
    target->endInput();
    target->rest();
}
