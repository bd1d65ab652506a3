#include "messaging/TevoroTalk.h"

#include "core/messaging/support/BusFixture.h"
#include "messaging/process/TevoroTalkThread.h"
#include "platform/common/ports/LocalPort.h"

#include <filesystem>
#include <memory>
#include <string>

#include <fcntl.h>

namespace {

using namespace ScObjects;
using test::bytes;
using test::Inbox;
using test::InboxHandler;
using test::TestRegistry;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class TevoroTalkTest : public test::BusFixture {
protected:
    // The names of the ports that are held, without the prefix that all have.
    static Words names()
    {
        Words result;
        for (const Pt::HeldPort& port : Pt::heldLocalPorts())
            result.push_back(port.name.substr(std::string(gPortName).size()));
        return result;
    }
    std::vector<std::string> portFiles() const
    {
        Words result;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path("ports")))
            result.push_back(entry.path().filename().string());
        return result;
    }
};

} // namespace

TEST_F(TevoroTalkTest, HasItsNameInLowerCase)
{
    const TevoroTalk& instance = start("Self-1.0-De_DE");
    EXPECT_EQ(bytes(instance.getAppName()), "self-1.0-de_de");
    EXPECT_EQ(instance.getContext(), TevoroTalk::getSharedContext());
}

TEST_F(TevoroTalkTest, HoldsThePortsOfTheInstanceItsThreadAndItsQuestions)
{
    start();
    const TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    ASSERT_TRUE(waitUntil([&] { return !thread->getSpecifier().isEmpty(); }));
    EXPECT_THAT(names(), ElementsAre("self-1.0", "self-1.0#ping", "self-1.0#thread"));
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    EXPECT_THAT(portFiles(), IsEmpty());
}

TEST_F(TevoroTalkTest, StartsTheBusAsFirstMainInstanceAndEndsItAsLast)
{
    auto* const first = new TevoroTalk("self-1.0", nullptr, true, nullptr);
    ASSERT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(TevoroTalk::get(nullptr), first);
    auto* const second = new TevoroTalk("second-1.0", nullptr, false, nullptr);
    delete first;
    EXPECT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(TevoroTalk::get(nullptr), nullptr);
    delete second;
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_THAT(names(), Not(Contains("self-1.0#thread")));
}

TEST_F(TevoroTalkTest, LeavesTheBusAloneThatWasStartedBeforeIt)
{
    start();
    delete self;
    EXPECT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(TevoroTalk::get(nullptr), nullptr);
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
}

TEST_F(TevoroTalkTest, StartsNoBusAsASecondaryInstance)
{
    const TevoroTalk instance("self-1.0", nullptr, false, nullptr);
    EXPECT_EQ(instance.getContext(), nullptr);
    EXPECT_EQ(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(bytes(instance.getAppName()), "self-1.0");
    EXPECT_FALSE(pump());
}

TEST_F(TevoroTalkTest, SendsWithoutABusAndGivesNoNumbers)
{
    InterAppStream stream("asker-1.0", true);
    const TevoroTalk instance("self-1.0", nullptr, false, nullptr);
    const auto message = request("asker-1.0");
    EXPECT_TRUE(send(instance, *message));
    EXPECT_EQ(message->serialNumber, 0U);
    EXPECT_THAT(bytes(message->sender), "self-1.0");
    EXPECT_THAT(received(stream, 1), testing::HasSubstr("Sender:self-1.0\n"));
}

TEST_F(TevoroTalkTest, NumbersItselfBesideOthersOfItsName)
{
    start("self-1.0");
    for (const std::string expected : {"self_1-1.0",
             "self_2-1.0",
             "self_3-1.0",
             "self_4-1.0",
             "self_5-1.0",
             "self_6-1.0",
             "self_7-1.0",
             "self_8-1.0"})
        EXPECT_EQ(bytes(another("self-1.0").getAppName()), expected);
    EXPECT_EQ(bytes(another("self-1.0").getAppName()), "");
}

TEST_F(TevoroTalkTest, DoesNothingWithoutAName)
{
    const InterAppStream holder("self_2-1.0", true);
    TevoroTalk& instance = start("self_2-1.0");
    EXPECT_EQ(bytes(instance.getAppName()), "");
    EXPECT_FALSE(instance.incomingMessagePending());
    EXPECT_FALSE(pump());
    const auto message = request("tevoro-1.0");
    EXPECT_FALSE(send(instance, *message));
    EXPECT_FALSE(instance.waitForMessage(0));
    EXPECT_FALSE(isReadable(instance.waitDescriptor()));
}

TEST_F(TevoroTalkTest, TakesAnotherNameAndLeavesTheFirst)
{
    TevoroTalk& instance = start();
    const int descriptor = instance.waitDescriptor();
    instance.setAppName("other-2.0");
    EXPECT_EQ(bytes(instance.getAppName()), "other-2.0");
    EXPECT_EQ(instance.waitDescriptor(), descriptor);
    EXPECT_THAT(names(), Not(Contains("self-1.0")));
    const InterAppStream sender("asker-1.0", true);
    EXPECT_FALSE(sender.send("self-1.0", "text"));
    EXPECT_TRUE(sender.send("other-2.0", "Target:other-2.0\nSender:asker-1.0\nType:Own\n\n"));
    EXPECT_TRUE(isReadable(descriptor, kPatience));
}

TEST_F(TevoroTalkTest, KeepsItsNameWhenItIsToldTheSame)
{
    TevoroTalk& instance = start();
    const InterAppStream sender("asker-1.0", true);
    EXPECT_TRUE(sender.send("self-1.0", "Target:self-1.0\nSender:asker-1.0\nType:Log\n\n"));
    instance.setAppName("self-1.0");
    EXPECT_TRUE(pumpUntil([&] { return inbox.size() == 1; })); // not lost with a mailbox
}

TEST_F(TevoroTalkTest, InitializesItsHandler)
{
    TevoroTalk& instance = start();
    EXPECT_EQ(handler->initializedWith, &instance);
    EXPECT_EQ(instance.findHandler("Quillscriber", kNone), handler);
}

TEST_F(TevoroTalkTest, RegistersANumberedCopyAndTakesItAway)
{
    TestRegistry& registry = TestRegistry::install({"self-1.0"});
    registry.paths["self-1.0"] = "/opt/self";
    start();
    EXPECT_THAT(registry.calls, IsEmpty());
    const TevoroTalk* const copy = &another("self-1.0");
    EXPECT_THAT(registry.calls, ElementsAre("register self_1-1.0 /opt/self (null) 0 0"));
    delete copy;
    EXPECT_THAT(registry.calls,
        ElementsAre("register self_1-1.0 /opt/self (null) 0 0", "unregister self_1-1.0 (null)"));
}

TEST_F(TevoroTalkTest, RegistersNoCopyThatIsInstalledAndTakesNoneAwayThatWasRefused)
{
    TestRegistry& registry = TestRegistry::install({"self-1.0"});
    registry.paths["self_1-1.0"] = "/opt/first";
    registry.answer = false;
    start();
    delete &another("self-1.0"); // the first, which is installed
    EXPECT_THAT(registry.calls, IsEmpty());
    const TevoroTalk* const first = &another("self-1.0");
    delete &another("self-1.0"); // the second, which is not registered
    EXPECT_THAT(registry.calls, ElementsAre("register self_2-1.0  (null) 0 0"));
    delete first;
}

TEST_F(TevoroTalkTest, DeletesWhatIsLeftWhenTheBusEnds)
{
    start();
    another("second-1.0", new InboxHandler(inbox));
    EXPECT_EQ(inbox.handlers, 2);
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
    EXPECT_EQ(inbox.handlers, 0);
    EXPECT_THAT(portFiles(), IsEmpty());
    EXPECT_FALSE(TevoroTalk::InitTerm::exit());
}

TEST_F(TevoroTalkTest, RunsStartsAndEndsManyTimes)
{
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        const TevoroTalk& instance = start();
        EXPECT_EQ(bytes(instance.getAppName()), "self-1.0");
        const auto message = request("self-1.0", "again");
        EXPECT_TRUE(send(instance, *message));
        EXPECT_TRUE(pump());
        EXPECT_TRUE(TevoroTalk::InitTerm::exit());
        EXPECT_THAT(portFiles(), IsEmpty());
    }
    EXPECT_EQ(inbox.size(), 20U);
}

TEST_F(TevoroTalkTest, TellsSendersOfWhatItHadNotWorkedOff)
{
    start();
    TevoroTalk* const second = &another("second-1.0");
    const InterAppStream threadOfTarget("late-1.0#thread", true);
    const auto outgoing = request("late-1.0", "to late", "Timeout");
    outgoing->sender = "self-1.0";
    const auto incoming = request("second-1.0", "to second", "Timeout");
    const Paused pause;
    EXPECT_FALSE(send(*second, *outgoing, true));
    EXPECT_TRUE(send(*self, *incoming));
    inbox.clear();
    delete second;
    pump();
    // Of the outgoing queue first, then of the incoming one: the message, and the watcher of the
    // other, which had its own name as sender.
    std::vector<std::uint32_t> numbers;
    for (const Inbox::Entry& entry : inbox.entries()) {
        EXPECT_EQ(entry.type, "Timeout");
        numbers.push_back(entry.serialNumber);
    }
    EXPECT_THAT(numbers,
        ElementsAre(outgoing->serialNumber, outgoing->serialNumber, incoming->serialNumber));
}

TEST_F(TevoroTalkTest, TellsNobodyWhenTheMainInstanceGoes)
{
    start();
    InterAppStream asker("asker-1.0", true);
    EXPECT_TRUE(asker.send("self-1.0",
        "Target:self-1.0\nSender:asker-1.0\nResponse-Request:Timeout\nType:Own\n\nbody"));
    ASSERT_TRUE(isReadable(self->waitDescriptor(), kPatience));
    {
        const Paused pause; // or the thread of the bus may be just about to take it in
        self->processIncomingMessage(kNone, false);
        EXPECT_THAT(queued(*self, "in", "Type"), ElementsAre("Own"));
    }
    delete self;
    EXPECT_FALSE(asker.messagePending());
}

TEST_F(TevoroTalkTest, AnswersAndDoesNotHangWhereThePortFolderIsRefused)
{
    folder.write("file", "no folder");
    environment.set("TEVOROTALK_PORT_DIR", folder.path("file"));
    TevoroTalk& instance = start();
    EXPECT_NE(TevoroTalk::getSharedContext(), nullptr);
    EXPECT_EQ(bytes(instance.getAppName()), "");
    const auto message = request("tevoro-1.0", "body", "Result Error Timeout");
    EXPECT_FALSE(send(instance, *message));
    EXPECT_FALSE(instance.send(*message, true, 1, nullptr));
    EXPECT_FALSE(instance.messagePending());
    EXPECT_FALSE(pump());
    EXPECT_FALSE(TevoroTalk::targetIsRunning("tevoro-1.0"));
    EXPECT_TRUE(TevoroTalk::InitTerm::exit());
}

TEST_F(TevoroTalkTest, SpeaksWithOthersAlsoWithoutAHome)
{
    environment.unset("HOME");
    start();
    InterAppStream asker("asker-1.0", true);
    Message message;
    message.target = "self-1.0";
    message.sender = "asker-1.0";
    message.body = "no salt";
    message.responseRequest = "Result";
    SoString text;
    ASSERT_TRUE(message.writeToString(text));
    EXPECT_TRUE(asker.send("self-1.0", text));
    EXPECT_TRUE(pumpUntil([&] { return inbox.size() == 1; }));
    EXPECT_THAT(messagesIn(received(asker, 1)), ElementsAre(testing::HasSubstr("type=Result")));
}

TEST_F(TevoroTalkTest, IsFoundByItsExactName)
{
    TevoroTalk& instance = start();
    TevoroTalk& second = another("second-1.0");
    EXPECT_EQ(TevoroTalk::get("second-1.0", nullptr), &second);
    EXPECT_EQ(TevoroTalk::get("second", nullptr), nullptr);
    EXPECT_EQ(TevoroTalk::get(nullptr), &instance);
    TevoroTalk::set(&second, nullptr);
    EXPECT_EQ(TevoroTalk::get(nullptr), &second);
}

TEST_F(TevoroTalkTest, AnswersForTheProcess)
{
    EXPECT_EQ(TevoroTalk::get(nullptr), nullptr);
    EXPECT_EQ(TevoroTalk::get("self-1.0", nullptr), nullptr);
    EXPECT_EQ(bytes(TevoroTalk::getSharedAppName()), "");
    EXPECT_EQ(bytes(TevoroTalk::getLaunchOptions()), "");
    EXPECT_FALSE(TevoroTalk::suppressStartupScreen());
    EXPECT_FALSE(TevoroTalk::bringToFront("tevoro-1.0", nullptr));
    EXPECT_EQ(TevoroTalk::getNumberOfRegisteredApplications(), 0);
    EXPECT_EQ(bytes(TevoroTalk::getApplicationSpecifier(0)), "");
    EXPECT_EQ(bytes(TevoroTalk::getDisplayName("tevoro", "1.0", "")), "");
    TestRegistry::install({"tevoro-1.0", "mfx-4.0"});
    start("mfx-4.0");
    EXPECT_EQ(bytes(TevoroTalk::getSharedAppName()), "mfx-4.0");
    EXPECT_EQ(TevoroTalk::getNumberOfRegisteredApplications(), 2);
    EXPECT_EQ(bytes(TevoroTalk::getApplicationSpecifier(1)), "mfx-4.0");
    EXPECT_TRUE(TevoroTalk::targetIsRunning("MFX"));
    EXPECT_FALSE(TevoroTalk::targetIsRunning("tevoro"));
}

TEST_F(TevoroTalkTest, HidesTheStartupScreenWhereItsLauncherSaysSo)
{
    start();
    TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    thread->setKeyValuePair("LAUNCHPARAMS", "-quiet");
    EXPECT_EQ(bytes(TevoroTalk::getLaunchOptions()), "-quiet");
    EXPECT_FALSE(TevoroTalk::suppressStartupScreen());
    thread->setKeyValuePair("LAUNCHPARAMS", "-quiet -nostartupscreen");
    EXPECT_TRUE(TevoroTalk::suppressStartupScreen());
}

TEST_F(TevoroTalkTest, SaysWhatWaits)
{
    TevoroTalk& instance = start();
    const Paused pause;
    EXPECT_FALSE(instance.messagePending());
    const InterAppStream asker("asker-1.0", true);
    EXPECT_TRUE(asker.send("self-1.0", "Target:self-1.0\nSender:asker-1.0\nType:Own\n\n"));
    ASSERT_TRUE(isReadable(instance.waitDescriptor(), kPatience));
    EXPECT_TRUE(instance.incomingMessagePending());
    EXPECT_FALSE(instance.outgoingMessagePending());
    EXPECT_TRUE(instance.messagePending());
    EXPECT_TRUE(pump());
    EXPECT_FALSE(instance.messagePending());
}

TEST_F(TevoroTalkTest, IsIdleOnceNothingWaits)
{
    const TevoroTalk& instance = start();
    TevoroTalkThread* const thread = TevoroTalkThread::getMainThread();
    thread->setKeyValuePair("STATUS", "PUMPING");
    EXPECT_FALSE(instance.messagePending());
    EXPECT_EQ(bytes(thread->getValueForKey("STATUS")), "IDLE");
}

TEST_F(TevoroTalkTest, TakesOneIncomingMessageOut)
{
    TevoroTalk& instance = start();
    const auto message = request("self-1.0");
    EXPECT_TRUE(send(instance, *message));
    EXPECT_FALSE(instance.removeIncomingMessage(kNone));
    EXPECT_TRUE(instance.removeIncomingMessage(message->serialNumber));
    EXPECT_FALSE(instance.removeIncomingMessage(message->serialNumber));
    EXPECT_FALSE(pump());
}
