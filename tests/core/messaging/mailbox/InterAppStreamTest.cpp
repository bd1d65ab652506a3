#include "messaging/mailbox/InterAppStream.h"

#include "core/messaging/support/MessagingFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortText.h"
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "platform/common/ports/LocalPort.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ScObjects;
using test::bytes;
using test::PeerProcess;
using TevoroTalkUtils::createNextAvailableInterAppStream;
using Message = TevoroTalk::Message;

class InterAppStreamTest : public test::MessagingFixture {
protected:
    static std::unique_ptr<PeerProcess> peer(const std::string& name)
    {
        return std::make_unique<PeerProcess>(std::vector<std::string>{STREAM_PEER, name});
    }

    static void sendFrom(PeerProcess& peer, const std::string& target, const std::string& text)
    {
        peer.tell("send " + target + " " + test::hexOf(text));
        EXPECT_EQ(peer.line(), "sent");
    }

    // Takes in one text.
    static void receiveOne(InterAppStream& stream)
    {
        const long length = stream.getMsgQueue().length();
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        while (!stream.messagePending() && std::chrono::steady_clock::now() < limit) {
            pollfd question = {stream.waitDescriptor(), POLLIN, 0};
            ::poll(&question, 1, static_cast<int>(kPatience.count()));
        }
        EXPECT_TRUE(stream.receive()) << length;
    }
};

} // namespace

TEST_F(InterAppStreamTest, HoldsItsName)
{
    const InterAppStream stream("Tevoro_1-1.0#Tag", false);
    EXPECT_TRUE(stream.isGood());
    EXPECT_EQ(bytes(stream.getSpecifier()), "Tevoro_1-1.0#Tag");
    EXPECT_TRUE(stream.usesNX2Name());
    EXPECT_TRUE(stream.isEmpty());
    EXPECT_FALSE(stream.messagePending());
    EXPECT_GE(stream.waitDescriptor(), 0);
    EXPECT_EQ(stream.bufferSize(), 4096);
}

TEST_F(InterAppStreamTest, NamesItsPortByThePrefixAndTheSpecifier)
{
    EXPECT_EQ(std::string(gPortName), "\\\\.\\port\\Ned_and_Olaf_");
    EXPECT_EQ(std::string(gPortName).size(), 22U);
    const InterAppStream stream("tevoro_1-1.0#tag", true);
    const auto held =
        PeerProcess({PORT_PEER, "hold", test::hexOf(std::string(gPortName) + "tevoro_1-1.0#tag")})
            .line();
    EXPECT_EQ(held, "taken");
}

TEST_F(InterAppStreamTest, IsNotGoodUnderANameThatIsHeld)
{
    const auto holder = peer("tevoro-1.0");
    ASSERT_EQ(holder->line(), "tevoro-1.0");
    InterAppStream stream("tevoro-1.0", true);
    EXPECT_FALSE(stream.isGood());
    EXPECT_FALSE(stream.messagePending());
    EXPECT_FALSE(stream.receive());
    EXPECT_TRUE(stream.getMessages().isEmpty());
    EXPECT_EQ(stream.waitDescriptor(), -1);
    EXPECT_FALSE(stream.send("tevoro-1.0", "text"));
    EXPECT_EQ(holder->finish(), 0);
}

TEST_F(InterAppStreamTest, NumbersTheCopiesUpTo8)
{
    std::vector<std::unique_ptr<PeerProcess>> copies;
    for (const std::string expected : {"tevoro-1.0#tag",
             "tevoro_1-1.0#tag",
             "tevoro_2-1.0#tag",
             "tevoro_3-1.0#tag",
             "tevoro_4-1.0#tag",
             "tevoro_5-1.0#tag",
             "tevoro_6-1.0#tag",
             "tevoro_7-1.0#tag",
             "tevoro_8-1.0#tag",
             "null"}) {
        copies.push_back(peer("tevoro-1.0#tag"));
        EXPECT_EQ(copies.back()->line(), expected);
    }
    EXPECT_EQ(copies[3]->finish(), 0);
    const auto later = peer("tevoro-1.0#tag");
    EXPECT_EQ(later->line(), "tevoro_3-1.0#tag");
    EXPECT_EQ(later->finish(), 0);
}

TEST_F(InterAppStreamTest, NumbersNoSpecifierThatHasAnInstance)
{
    const auto holder = peer("tevoro_2-1.0");
    ASSERT_EQ(holder->line(), "tevoro_2-1.0");
    EXPECT_EQ(createNextAvailableInterAppStream("tevoro_2-1.0"), nullptr);
    EXPECT_EQ(createNextAvailableInterAppStream(""), nullptr);
    EXPECT_EQ(holder->finish(), 0);
}

TEST_F(InterAppStreamTest, HasANameAgainWhoseHolderWasKilled)
{
    const auto holder = peer("tevoro-1.0");
    ASSERT_EQ(holder->line(), "tevoro-1.0");
    const InterAppStream asker("asker-1.0", true);
    EXPECT_FALSE(asker.canOpen("tevoro-1.0", true));
    holder->kill();
    EXPECT_TRUE(asker.canOpen("tevoro-1.0", true));
    EXPECT_TRUE(InterAppStream("tevoro-1.0", true).isGood());
    EXPECT_TRUE(asker.canOpen("tevoro-1.0", true));
}

TEST_F(InterAppStreamTest, TakesNoNameByAsking)
{
    const InterAppStream asker("asker-1.0", true);
    EXPECT_TRUE(asker.canOpen("tevoro-1.0", true));
    EXPECT_TRUE(asker.canOpen("tevoro-1.0", false));
    EXPECT_FALSE(asker.canOpen("asker-1.0", true));
    const auto holder = peer("tevoro-1.0");
    EXPECT_EQ(holder->line(), "tevoro-1.0");
    EXPECT_EQ(holder->finish(), 0);
}

TEST_F(InterAppStreamTest, CarriesTextsBothWays)
{
    const auto other = peer("tevoro-1.0");
    ASSERT_EQ(other->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    const std::string there = "\x01\xff any\nbytes";
    EXPECT_TRUE(stream.send("tevoro-1.0", test::soString(there)));
    other->tell("read " + std::to_string(there.size()));
    EXPECT_EQ(test::bytesOf(other->line()), there);
    sendFrom(*other, "asker-1.0", "back");
    EXPECT_EQ(received(stream, 4), "back");
    EXPECT_TRUE(stream.isEmpty());
    EXPECT_EQ(other->finish(), 0);
}

TEST_F(InterAppStreamTest, SendsNothingAtOnceToANameThatNobodyHolds)
{
    const InterAppStream stream("asker-1.0", true);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(stream.send("tevoro-1.0", "text"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(InterAppStreamTest, SendsNoEmptyText)
{
    InterAppStream stream("asker-1.0", true);
    InterAppStream other("tevoro-1.0", true);
    EXPECT_FALSE(stream.send("tevoro-1.0", ""));
    EXPECT_FALSE(other.messagePending());
}

TEST_F(InterAppStreamTest, PutsTextsBehindEachOther)
{
    const auto sender = peer("tevoro-1.0");
    ASSERT_EQ(sender->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    Message::setCreateDigest(false);
    Message message;
    message.target = "asker-1.0";
    message.sender = "tevoro-1.0";
    message.body = "first";
    SoString text;
    ASSERT_TRUE(message.writeToString(text));
    sendFrom(*sender, "asker-1.0", bytes(text) + "\n\n");
    sendFrom(*sender, "asker-1.0", bytes(text));
    const std::string both = received(stream, 2 * text.view().size() + 2);
    EXPECT_EQ(both, bytes(text) + "\n\n" + bytes(text));
    Message read;
    const char* const second = read.readFromString(both.c_str());
    EXPECT_EQ(std::string(second), bytes(text));
    EXPECT_EQ(sender->finish(), 0);
}

TEST_F(InterAppStreamTest, TakesInOneTextAtATime)
{
    const auto sender = peer("tevoro-1.0");
    ASSERT_EQ(sender->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    for (const char* text : {"one", "two"})
        sendFrom(*sender, "asker-1.0", text);
    receiveOne(stream);
    EXPECT_FALSE(stream.isEmpty());
    EXPECT_TRUE(stream.hasUnreadTexts());
    EXPECT_EQ(stream.getMsgQueue().length(), 1);
    EXPECT_EQ(bytes(stream.getMessages()), "one");
    EXPECT_TRUE(stream.isEmpty());
    EXPECT_TRUE(stream.receive());
    EXPECT_EQ(bytes(stream.getMessages()), "two");
    EXPECT_FALSE(stream.receive());
    EXPECT_FALSE(stream.messagePending());
    EXPECT_EQ(sender->finish(), 0);
}

TEST_F(InterAppStreamTest, BringsALineFeedForANul)
{
    const auto sender = peer("tevoro-1.0");
    ASSERT_EQ(sender->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    sendFrom(*sender, "asker-1.0", std::string("\0a\0\0b\0", 6));
    EXPECT_EQ(received(stream, 6), "\na\n\nb\n");
    EXPECT_EQ(sender->finish(), 0);
}

TEST_F(InterAppStreamTest, GrowsItsBufferToTheLargestText)
{
    const auto sender = peer("tevoro-1.0");
    ASSERT_EQ(sender->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    struct {
        std::size_t size;
        long buffer;
    } const rows[] = {
        {4095, 4096}, {4096, 4096}, {4097, 4097}, {1, 4097}, {5000, 5000}, {4999, 5000}};
    for (const auto& row : rows) {
        std::string text(row.size, 'a');
        text.back() = '\0';
        sendFrom(*sender, "asker-1.0", text);
        receiveOne(stream);
        EXPECT_EQ(stream.bufferSize(), row.buffer);
        text.back() = '\n';
        EXPECT_EQ(bytes(stream.getMessages()), text);
    }
    EXPECT_EQ(sender->finish(), 0);
}

TEST_F(InterAppStreamTest, CarriesTextsOfMegabytes)
{
    const auto sender = peer("tevoro-1.0");
    ASSERT_EQ(sender->line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    for (const std::size_t size : {std::size_t{1} << 20U, std::size_t{20} << 20U}) {
        sender->tell("fill asker-1.0 " + std::to_string(size));
        EXPECT_EQ(
            test::described(received(stream, size)), test::described(test::numberedText(0, size)));
        EXPECT_EQ(sender->line(), "sent");
        EXPECT_EQ(stream.bufferSize(), static_cast<long>(size));
    }
    EXPECT_EQ(sender->finish(), 0);
}

TEST_F(InterAppStreamTest, LosesWhatWasNotTakenWithItsName)
{
    const InterAppStream sender("asker-1.0", true);
    {
        const InterAppStream stream("tevoro-1.0", true);
        EXPECT_TRUE(sender.send("tevoro-1.0", "lost"));
        EXPECT_TRUE(stream.messagePending());
        EXPECT_TRUE(sender.send("tevoro-1.0", "lost, too"));
    }
    EXPECT_FALSE(sender.send("tevoro-1.0", "nobody there"));
    InterAppStream stream("tevoro-1.0", true);
    EXPECT_TRUE(stream.isGood());
    EXPECT_FALSE(stream.messagePending());
    EXPECT_TRUE(sender.send("tevoro-1.0", "there again"));
    EXPECT_EQ(received(stream, 1), "there again");
}

TEST_F(InterAppStreamTest, SendsAndReceivesInSeveralThreadsAtOnce)
{
    constexpr int kThreads = 3;
    constexpr int kTexts = 200;
    InterAppStream stream("tevoro-1.0", true);
    const InterAppStream sender("asker-1.0", true);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < kTexts; ++n)
                failures += sender.send("tevoro-1.0", "text\n") ? 0 : 1;
        });
    const std::string text = received(stream, std::size_t{kThreads} * kTexts * 5);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(text.size(), std::size_t{kThreads} * kTexts * 5);
    EXPECT_EQ(text.find_first_not_of("text\n"), std::string::npos);
}

TEST_F(InterAppStreamTest, NamesThePlaceOfLaunchParameters)
{
    const auto nameFor = [](const char* specifier) {
        return bytes(TevoroTalkUtils::getLaunchMsgQueueName(specifier));
    };
    EXPECT_EQ(nameFor("Tevoro_2-4.0-en_us#tag"), "tevoro-4.0-en_us#launchparams");
    EXPECT_EQ(nameFor("tevoro-4.0"), "tevoro-4.0#launchparams");
    EXPECT_EQ(nameFor("tevoro-en_us"), "tevoro-en_us#launchparams");
    EXPECT_EQ(nameFor("tevoro"), "tevoro#launchparams");
}

TEST_F(InterAppStreamTest, TakesTheNumberOfTheApplicationThatItIsCalledAfter)
{
    // Asked for before there was a name.
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "interappstream-1.0");
    EXPECT_TRUE(InterAppStream::InitTerm::follow("tevoro-1.0", false));
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro-1.0#ping");
    EXPECT_TRUE(InterAppStream::InitTerm::follow("tevoro_2-1.0", false));
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro_2-1.0#ping");
    // Another application's is left alone.
    EXPECT_TRUE(InterAppStream::InitTerm::follow("other-1.0", false));
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro_2-1.0#ping");
    const InterAppStream taken("tevoro_3-1.0#ping", true);
    EXPECT_FALSE(InterAppStream::InitTerm::follow("tevoro_3-1.0", false));
    InterAppStream::InitTerm::exit();
}

TEST_F(InterAppStreamTest, AsksQuestionsUnderTheNameOfTheProcess)
{
    InterAppStream::InitTerm::init("Tevoro_1-1.0#tag");
    ASSERT_NE(InterAppStream::get(), nullptr);
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro_1-1.0#ping");
    InterAppStream::InitTerm::init("tevoro-1.0");
    InterAppStream::InitTerm::init("tevoro-1.0"); // its own former name is free
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro-1.0#ping");
}

TEST_F(InterAppStreamTest, AsksQuestionsUnderANumberedNameInASecondProcess)
{
    const auto first = peer("tevoro-1.0#ping");
    ASSERT_EQ(first->line(), "tevoro-1.0#ping");
    InterAppStream::InitTerm::init("tevoro-1.0");
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "tevoro_1-1.0#ping");
    EXPECT_EQ(first->finish(), 0);
}

TEST_F(InterAppStreamTest, AsksQuestionsUnderANameOfItsOwnWithoutABus)
{
    ASSERT_NE(InterAppStream::get(), nullptr);
    EXPECT_EQ(bytes(InterAppStream::get()->getSpecifier()), "interappstream-1.0");
    EXPECT_EQ(InterAppStream::get(), InterAppStream::get());
    InterAppStream::InitTerm::exit();
    EXPECT_TRUE(Pt::isLocalPortFree(std::string(gPortName) + "interappstream-1.0"));
}

TEST_F(InterAppStreamTest, HasNoStreamWhereNoPortCanBeHeld)
{
    environment.set("TEVOROTALK_PORT_DIR", folder.write("file", ""));
    EXPECT_EQ(InterAppStream::get(), nullptr);
    InterAppStream::InitTerm::init("tevoro-1.0");
    EXPECT_EQ(createNextAvailableInterAppStream("tevoro-1.0"), nullptr);
    EXPECT_FALSE(InterAppStream("tevoro-1.0", true).isGood());
}
