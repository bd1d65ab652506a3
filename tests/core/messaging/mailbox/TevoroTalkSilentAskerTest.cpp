// Processes that ask and do not read the answers: they hold nobody up for long.
#include "core/messaging/support/BusFixture.h"
#include "messaging/TevoroTalkPing.h"
#include "messaging/mailbox/InterAppStream.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using std::chrono::milliseconds;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

class TevoroTalkSilentAskerTest : public test::BusFixture {
protected:
    // A port that this process holds and reads only when told to.
    static constexpr const char* kAsker = "asker-1.0";

    // As much of it as finds room at the asker's port.
    static constexpr int kMany = 400;

    TevoroTalkSilentAskerTest()
    {
        start();
        handler->answer.assign(60000, 'x');
    }

    void ask(const InterAppStream& asker, const std::string& responseRequest, const char* type)
    {
        Message question;
        question.target = "self-1.0";
        question.sender = asker.getSpecifier();
        question.type = type;
        question.body = "question";
        question.timeout = 600;
        question.serialNumber = ++m_asked;
        question.responseRequest = responseRequest.c_str();
        EXPECT_TRUE(asker.sendMessage(question));
    }

    static SteadyClock::duration durationOf(const std::function<void()>& work)
    {
        const auto begin = SteadyClock::now();
        work();
        return SteadyClock::now() - begin;
    }

    // Pumps until everything that came in was handled.
    void pumpAll(std::size_t messages)
    {
        const auto limit = SteadyClock::now() + seconds(60);
        while (inbox.size() < messages && SteadyClock::now() < limit)
            pump();
        EXPECT_EQ(inbox.size(), messages);
    }

    // Of one sender, from the port of somebody who begins to read.
    static std::size_t readAll(InterAppStream& stream)
    {
        std::size_t count = 0;
        for (; stream.messagePending() && stream.receive(); ++count)
            stream.getMessages();
        return count;
    }

private:
    std::uint32_t m_asked = 0;
};

} // namespace

TEST_F(TevoroTalkSilentAskerTest, HoldsAnApplicationUpOnceForTenSeconds)
{
    InterAppStream asker(kAsker, true);
    for (int i = 0; i < kMany; ++i)
        ask(asker, "Result", "Quillscriber");
    const auto first = durationOf([&] { pumpAll(kMany); });
    EXPECT_GE(first, seconds(10)); // its port became full
    EXPECT_LT(first, seconds(16));
    inbox.clear();
    for (int i = 0; i < kMany; ++i)
        ask(asker, "Result", "Quillscriber");
    EXPECT_LT(durationOf([&] { pumpAll(kMany); }), seconds(5));
    // The diagnostics tell of it.
    SoString tree;
    self->appendDiagnostics(tree, "");
    EXPECT_THAT(test::bytes(tree),
        testing::HasSubstr("/self-1.0/silent/asker-1.0;0;asker-1.0;does not read;\n"));
    // As soon as it reads it has answers again.
    EXPECT_GT(readAll(asker), 0U);
    ask(asker, "Result", "Quillscriber");
    inbox.clear();
    pumpAll(1);
    std::string texts;
    while (asker.messagePending() && asker.receive())
        texts += test::bytes(asker.getMessages());
    EXPECT_THAT(texts, testing::HasSubstr("Type:Result\n"));
}

TEST_F(TevoroTalkSilentAskerTest, DoesNotHoldUpAnswersToPings)
{
    // Each has its own name, so that each is waited for at first.
    std::vector<std::unique_ptr<InterAppStream>> askers;
    Message question;
    question.target = "self-1.0#thread";
    question.type = "ping";
    question.setHeader("ECHO_REQUEST", "STATUS");
    question.body = SoString(std::string_view(std::string(200000, 'x')));
    for (int i = 0; i < 8; ++i) {
        askers.push_back(
            std::make_unique<InterAppStream>(("asker" + std::to_string(i) + "-1.0").c_str(), true));
        question.sender = askers.back()->getSpecifier();
        for (int k = 0; k < 60; ++k)
            EXPECT_TRUE(askers.back()->sendMessage(question));
    }
    // The status of the pump is set meanwhile, and does not wait for any of them.
    const auto limit = SteadyClock::now() + seconds(4);
    SteadyClock::duration longest{0};
    while (SteadyClock::now() < limit) {
        longest = std::max(longest, durationOf([&] { pump(); }));
        std::this_thread::sleep_for(milliseconds(5));
    }
    EXPECT_LT(longest, seconds(1));
    InterAppStream other("other-1.0", true);
    question.sender = "other-1.0";
    question.body = "";
    EXPECT_TRUE(other.sendMessage(question));
    EXPECT_TRUE(waitUntil([&] { return other.messagePending(); }));
}

TEST_F(TevoroTalkSilentAskerTest, GetsReceiptsThatFoundNoRoomWhenItReadsWithinTenSeconds)
{
    InterAppStream asker(kAsker, true);
    // Fills its port.
    Message filler;
    filler.target = kAsker;
    filler.body = SoString(std::string_view(std::string(60000, 'x')));
    std::size_t before = 0;
    const bool isFull = durationOf([&] {
        while (send(*self, filler))
            ++before;
    }) >= seconds(10);
    EXPECT_TRUE(isFull);
    // The application does not pump: the thread of the bus takes the requests in.
    constexpr std::size_t kRequests = 5;
    for (std::size_t i = 0; i < kRequests; ++i)
        ask(asker, "Received", "Quillscriber");
    EXPECT_TRUE(waitUntil([&] { return queued(*self, "in", "Type").size() == kRequests; }));
    std::size_t texts = 0;
    EXPECT_TRUE(waitUntil([&] { return (texts += readAll(asker)) >= before + kRequests; }));
}

TEST_F(TevoroTalkSilentAskerTest, DoesNotKeepTheThreadOfTheBusFromItsOtherWork)
{
    InterAppStream asker(kAsker, true);
    Message filler;
    filler.target = kAsker;
    filler.body = SoString(std::string_view(std::string(60000, 'x')));
    while (send(*self, filler)) { }
    for (int i = 0; i < 100; ++i)
        ask(asker, "Received", "Quillscriber");
    InterAppStream other("other-1.0", true);
    Message question;
    question.target = "self-1.0#thread";
    question.sender = "other-1.0";
    question.type = "ping";
    question.setHeader("ECHO_REQUEST", "STATUS");
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(other.sendMessage(question));
        EXPECT_LT(
            durationOf([&] { EXPECT_TRUE(waitUntil([&] { return other.messagePending(); })); }),
            seconds(1));
        drain(other);
    }
}

// A single text with very many questions.
TEST_F(TevoroTalkSilentAskerTest, DoesNotHoldUpOthersWithALongTextOfPings)
{
    constexpr int kPings = 60000;
    InterAppStream asker(kAsker, true);
    InterAppStream other("other-1.0", true);
    Message question;
    question.target = "self-1.0#thread";
    question.sender = kAsker;
    question.type = "ping";
    question.setHeader("ECHO_REQUEST", "STATUS");
    SoString one;
    EXPECT_TRUE(question.writeToString(one));
    std::string many;
    for (int i = 0; i < kPings; ++i)
        many += one.view();
    EXPECT_TRUE(asker.send("self-1.0#thread", SoString(std::string_view(many))));
    question.sender = "other-1.0";
    EXPECT_TRUE(other.sendMessage(question));
    SteadyClock::duration longest{0};
    const auto begin = SteadyClock::now();
    while (!other.messagePending() && SteadyClock::now() - begin < seconds(20))
        longest = std::max(longest, durationOf([&] { pump(); }));
    EXPECT_LT(SteadyClock::now() - begin, seconds(2));
    EXPECT_LT(longest, seconds(1));
}
