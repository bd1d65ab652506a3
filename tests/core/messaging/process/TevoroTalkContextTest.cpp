#include "messaging/TevoroTalkContext.h"

#include "core/messaging/support/BusFixture.h"
#include "messaging/process/TevoroTalkThread.h"

#include <future>
#include <memory>
#include <string>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using testing::ElementsAre;
using Specifier = TevoroTalk::Specifier;

class TevoroTalkContextTest : public test::BusFixture {
protected:
    static bool hasPort(const TevoroTalkContext& context)
    {
        return waitUntil([&] { return !context.getThread()->getSpecifier().isEmpty(); });
    }
};

} // namespace

TEST_F(TevoroTalkContextTest, IsMissingBeforeTheBusStarts)
{
    EXPECT_EQ(TevoroTalkContext::getCurrentContext(), nullptr);
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(TevoroTalkThread::getMainThread(), nullptr);
}

TEST_F(TevoroTalkContextTest, CountsMessages)
{
    start();
    TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    const std::uint32_t first = context.getNextSerialNumber();
    EXPECT_EQ(context.nextSerialNumber(), first + 1);
    EXPECT_EQ(context.getNextSerialNumber(), first + 1);
    EXPECT_EQ(context.getNextSerialNumber(), first + 2);
}

TEST_F(TevoroTalkContextTest, ContinuesFromTheLastNumberGiven)
{
    start();
    const std::uint32_t last = TevoroTalk::getSharedContext()->getNextSerialNumber();
    TevoroTalkContext second(Specifier("second-1.0", false));
    EXPECT_EQ(second.nextSerialNumber(), last);
    EXPECT_EQ(second.getNextSerialNumber(), last);
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    start();
    EXPECT_GE(TevoroTalk::getSharedContext()->nextSerialNumber(), last);
}

TEST_F(TevoroTalkContextTest, GoesOnBehindTheContextThatItReplaces)
{
    start();
    const std::uint32_t last = TevoroTalk::getSharedContext()->getNextSerialNumber();
    auto* const second = new TevoroTalkContext(Specifier("second-1.0", false));
    TevoroTalk::setSharedContext(second);
    EXPECT_EQ(TevoroTalk::getSharedContext(), second);
    EXPECT_EQ(second->getNextSerialNumber(), last + 1);
}

TEST_F(TevoroTalkContextTest, GoesOnFromItsOwnNumberWhereThatIsHigher)
{
    start();
    auto* const second = new TevoroTalkContext(Specifier("second-1.0", false));
    std::uint32_t last = 0;
    for (int i = 0; i < 5; ++i)
        last = second->getNextSerialNumber();
    TevoroTalkContext::setCurrentContext(second);
    EXPECT_EQ(second->getNextSerialNumber(), last + 1);
}

TEST_F(TevoroTalkContextTest, TakesItsInstancesWithItWhenItIsReplaced)
{
    start();
    another("other-1.0", new InboxHandler(inbox));
    ASSERT_TRUE(hasPort(*TevoroTalk::getSharedContext()));
    auto* const second = new TevoroTalkContext(Specifier("second-1.0", false));
    auto* const kept = new TevoroTalk("kept-1.0", new InboxHandler(inbox), false, second);
    TevoroTalkContext::setCurrentContext(second);
    EXPECT_EQ(inbox.handlers, 1);
    EXPECT_EQ(second->getNumberOfInstances(), 1);
    EXPECT_EQ(second->getNthInstance(0), kept);
    EXPECT_EQ(second->getMainInstance(), nullptr);
    const auto message = request("kept-1.0", "still here");
    EXPECT_TRUE(send(*kept, *message));
    EXPECT_TRUE(pump());
    EXPECT_THAT(inbox.bodies(), ElementsAre("still here"));
    EXPECT_TRUE(InterAppStream("self-1.0#thread", true).isGood());
    EXPECT_TRUE(InterAppStream("self-1.0", true).isGood());
}

TEST_F(TevoroTalkContextTest, StaysWhenItIsMadeTheCurrentOneAgain)
{
    const TevoroTalk& instance = start();
    TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    TevoroTalkContext::setCurrentContext(context);
    EXPECT_EQ(TevoroTalk::getSharedContext(), context);
    EXPECT_EQ(context->getMainInstance(), &instance);
}

TEST_F(TevoroTalkContextTest, KnowsItsInstances)
{
    TevoroTalk& main = start();
    TevoroTalk& second = another("second-1.0");
    TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    EXPECT_EQ(context.getNumberOfInstances(), 2);
    EXPECT_EQ(context.getNthInstance(0), &main);
    EXPECT_EQ(context.getNthInstance(1), &second);
    EXPECT_EQ(context.getNthInstance(2), nullptr);
    EXPECT_EQ(context.findInstance(&second), &second);
    EXPECT_EQ(context.findInstance(SoString("second-1.0")), &second);
    EXPECT_EQ(context.findInstance(SoString("Second-1.0")), nullptr);
    EXPECT_EQ(context.findInstance(SoString("second")), nullptr);
    context.removeInstance(&second);
    EXPECT_EQ(context.findInstance(&second), nullptr);
    context.appendInstance(&second);
    EXPECT_EQ(context.getNthInstance(1), &second);
}

TEST_F(TevoroTalkContextTest, TakesOverWhatAnotherHas)
{
    TevoroTalk& main = start();
    const TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    TevoroTalkContext second(Specifier("second-1.0", false));
    for (int i = 0; i < 3; ++i) {
        second.appendContext(context);
        EXPECT_EQ(second.getNumberOfInstances(), 1);
    }
    EXPECT_EQ(second.getMainInstance(), &main);
    EXPECT_EQ(second.nextSerialNumber(), context.nextSerialNumber());
    {
        const TevoroTalkContext::PausedThread pause(&second);
        second.removeInstance(&main);
    }
    second.setMainInstance(nullptr);
}

TEST_F(TevoroTalkContextTest, ServesItsOwnInstances)
{
    start();
    Inbox ofOther;
    TevoroTalkContext second(Specifier("second-1.0", false));
    const auto other =
        std::make_unique<TevoroTalk>("other-1.0", new InboxHandler(ofOther), true, &second);
    EXPECT_EQ(other->getContext(), &second);
    EXPECT_EQ(TevoroTalk::get(&second), other.get());
    EXPECT_NE(TevoroTalk::get(nullptr), other.get());
    EXPECT_EQ(TevoroTalk::get("other-1.0", &second), other.get());
    EXPECT_EQ(TevoroTalk::get("other-1.0", nullptr), nullptr);
    // Between contexts a message goes over the port.
    const auto message = request("other-1.0", "across");
    EXPECT_TRUE(send(*self, *message));
    EXPECT_FALSE(TevoroTalk::pump(TevoroTalk::kBoth, nullptr));
    EXPECT_TRUE(waitUntil([&] { return TevoroTalk::pump(TevoroTalk::kBoth, &second); }));
    EXPECT_THAT(ofOther.bodies(), ElementsAre("across"));
}

TEST_F(TevoroTalkContextTest, OfACallerOutlivesItsLastInstance)
{
    auto* const first = new TevoroTalk("self-1.0", nullptr, true, nullptr); // starts the bus
    TevoroTalkContext second(Specifier("second-1.0", false));
    delete new TevoroTalk("other-1.0", nullptr, false, &second);
    EXPECT_EQ(second.getNumberOfInstances(), 0);
    EXPECT_EQ(TevoroTalk::getSharedContext()->getNumberOfInstances(), 1);
    delete first;
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
}

TEST_F(TevoroTalkContextTest, LosesAnInstanceThatMovesToAnother)
{
    TevoroTalk& main = start();
    TevoroTalkContext second(Specifier("second-1.0", false));
    const TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    main.setContext(&second);
    EXPECT_EQ(main.getContext(), &second);
    EXPECT_EQ(context.getNumberOfInstances(), 0);
    EXPECT_EQ(context.getMainInstance(), nullptr);
    main.setContext(&second);
    EXPECT_EQ(main.getContext(), &second);
    delete &main;
}

TEST_F(TevoroTalkContextTest, NamesItselfByItsMainInstanceElseByItsThread)
{
    start("self-1.0#tag");
    TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    EXPECT_EQ(bytes(context.getAppSpecifier()), "self-1.0");
    TevoroTalk& second = another("second-2.0#tag");
    context.setMainInstance(&second);
    EXPECT_EQ(bytes(context.getAppSpecifier()), "second-2.0");
    context.setMainInstance(nullptr);
    ASSERT_TRUE(hasPort(context));
    EXPECT_EQ(bytes(context.getAppSpecifier()), "self-1.0");
}

TEST_F(TevoroTalkContextTest, KeepsTheSignatureOfTheUser)
{
    start();
    const TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    folder.write("home/.velmo/userid", "0123456789ABCDEF0123456789ABCDEF");
    TevoroTalkData::forgetIdentity();
    EXPECT_EQ(bytes(context.getSignature()), "0123456789ABCDEF0123456789ABCDEF");
    folder.write("home/.velmo/userid", "another");
    TevoroTalkData::forgetIdentity();
    EXPECT_EQ(bytes(context.getSignature()), "0123456789ABCDEF0123456789ABCDEF");
}

TEST_F(TevoroTalkContextTest, LogsWhenItIsToldTo)
{
    start();
    TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    EXPECT_FALSE(context.isLogging());
    context.setLogging(true);
    EXPECT_TRUE(context.isLogging());
    context.setLogging(false);
    EXPECT_FALSE(context.isLogging());
}

TEST_F(TevoroTalkContextTest, KnowsTheConnectorOfTheProcess)
{
    start();
    const TevoroTalkContext& context = *TevoroTalk::getSharedContext();
    EXPECT_EQ(context.getConnector(), nullptr);
    EXPECT_EQ(context.getConnector(), TevoroTalkConnector::get());
    const auto& registry = test::TestRegistry::install();
    EXPECT_EQ(context.getConnector(), &registry);
}

TEST_F(TevoroTalkContextTest, HasAThreadThatRunsUntilItsEnd)
{
    auto context = std::make_unique<TevoroTalkContext>(Specifier("self-1.0", false));
    ASSERT_TRUE(hasPort(*context));
    EXPECT_EQ(bytes(context->getThread()->getSpecifier()), "self-1.0#thread");
    EXPECT_TRUE(context->getThread()->isActive());
    context.reset();
    EXPECT_TRUE(InterAppStream("self-1.0#thread", true).isGood());
}

// Whoever forwards a message asks for it, and the thread may be waiting for the forwarding.
TEST_F(TevoroTalkContextTest, TellsItsNameWhileItsThreadIsAtWork)
{
    ASSERT_TRUE(TevoroTalk::InitTerm::init("self-1.0", true));
    const Context* const context = Context::getCurrentContext();
    ASSERT_EQ(context->getMainInstance(), nullptr);
    ASSERT_TRUE(waitUntil([&] { return !context->getAppSpecifier().isEmpty(); }));
    auto busy = std::make_unique<Paused>();
    auto name = std::async(std::launch::async, [&] { return bytes(context->getAppSpecifier()); });
    EXPECT_EQ(name.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    busy.reset(); // or a name that waits for it would never come
    EXPECT_EQ(name.get(), "self-1.0");
}
