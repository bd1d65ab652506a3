// The handlers of an instance: which one a message finds, and how they come and go.
#include "core/messaging/support/BusFixture.h"
#include "messaging/TevoroTalk.h"

#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using test::InboxHandler;

class TevoroTalkHandlersTest : public test::BusFixture {
protected:
    TevoroTalkHandlersTest()
        : instance(start())
    {
        instance.deleteHandler(handler);
    }

    // Owned by the instance.
    InboxHandler* add(const char* type, std::uint32_t number = kNone)
    {
        auto* const added = new InboxHandler(inbox, type, number);
        EXPECT_EQ(instance.changeHandler(added), nullptr);
        return added;
    }

    TevoroTalk& instance;
};

} // namespace

TEST_F(TevoroTalkHandlersTest, AreFoundByTypeAndNumber)
{
    const InboxHandler* const seven = add("Own", 7);
    const InboxHandler* const eight = add("Own", 8);
    EXPECT_EQ(instance.findHandler("Own", 7), seven);
    EXPECT_EQ(instance.findHandler("Own", 8), eight);
    EXPECT_EQ(instance.findHandler("Own", 9), nullptr);
    EXPECT_EQ(instance.findHandler("Own", kNone), nullptr);
    EXPECT_EQ(instance.findHandler("own", 7), nullptr);
}

TEST_F(TevoroTalkHandlersTest, OfAllMessagesStandInForThatOfOne)
{
    const InboxHandler* const all = add("Own");
    EXPECT_EQ(instance.findHandler("Own", 7), all);
    EXPECT_EQ(instance.findHandler("Other", 7), nullptr);
    const InboxHandler* const seven = add("Own", 7);
    EXPECT_EQ(instance.findHandler("Own", 7), seven);
    EXPECT_EQ(instance.findHandler("Own", 8), all);
}

TEST_F(TevoroTalkHandlersTest, OfANumberAreFoundWithoutAType)
{
    add("Own");
    EXPECT_EQ(instance.findHandler("", 7), nullptr);
    const InboxHandler* const first = add("Own", 7);
    EXPECT_EQ(instance.findHandler("", 7), first);
    const InboxHandler* const second = add("Other", 7);
    EXPECT_EQ(instance.findHandler("", 7), second); // the last added is looked at first
}

TEST_F(TevoroTalkHandlersTest, ReplaceOneOfTheSameTypeAndNumber)
{
    InboxHandler* const former = add("Own", 7);
    auto* const fresh = new InboxHandler(inbox, "Own", 7);
    const std::unique_ptr<TevoroTalk::MsgHandler> returned(instance.changeHandler(fresh));
    EXPECT_EQ(returned.get(), former);
    EXPECT_EQ(instance.findHandler("Own", 7), fresh);
}

TEST_F(TevoroTalkHandlersTest, OfOneMessageLeaveThatOfAllInPlace)
{
    InboxHandler* const all = add("Own");
    add("Own", 7);
    EXPECT_EQ(instance.findHandler("Own", 8), all);
}

TEST_F(TevoroTalkHandlersTest, ThatAreThereAlreadyStay)
{
    InboxHandler* const all = add("Own");
    EXPECT_EQ(instance.changeHandler(all), nullptr);
    EXPECT_EQ(instance.findHandler("Own", kNone), all);
}

TEST_F(TevoroTalkHandlersTest, AreTakenOutForTheCaller)
{
    InboxHandler* const seven = add("Own", 7);
    const std::unique_ptr<TevoroTalk::MsgHandler> taken(instance.removeHandler("Own", 7));
    EXPECT_EQ(taken.get(), seven);
    EXPECT_EQ(instance.findHandler("Own", 7), nullptr);
    EXPECT_EQ(instance.removeHandler("Own", 7), nullptr);
}

TEST_F(TevoroTalkHandlersTest, AreDeletedOnce)
{
    const InboxHandler* const one = add("Own", 7);
    add("Own");
    EXPECT_TRUE(instance.deleteHandler(one));
    EXPECT_EQ(inbox.handlers, 1);
    EXPECT_FALSE(instance.deleteHandler(one));
    EXPECT_FALSE(instance.deleteHandler(nullptr));
}

TEST_F(TevoroTalkHandlersTest, OfANumberAreAllDeletedTogether)
{
    const InboxHandler* const all = add("Own");
    add("Own", 7);
    add("Error", 7);
    const InboxHandler* const eight = add("Own", 8);
    EXPECT_FALSE(instance.deleteHandlers(kNone));
    EXPECT_TRUE(instance.deleteHandlers(7));
    EXPECT_FALSE(instance.deleteHandlers(7));
    EXPECT_EQ(inbox.handlers, 2);
    EXPECT_EQ(instance.findHandler("Own", 8), eight);
    EXPECT_EQ(instance.findHandler("Own", kNone), all);
}

TEST_F(TevoroTalkHandlersTest, TakeTheWatcherOfTheirMessageWithThem)
{
    const Paused pause;
    const auto message = request("self-1.0", "body", "Timeout");
    message->type = "Own";
    EXPECT_TRUE(send(instance, *message));
    EXPECT_THAT(queued(instance, "in", "Type"), testing::ElementsAre("Own", "Ignore"));
    EXPECT_FALSE(instance.deleteHandlers(message->serialNumber));
    EXPECT_THAT(queued(instance, "in", "Type"), testing::ElementsAre("Own"));
}
