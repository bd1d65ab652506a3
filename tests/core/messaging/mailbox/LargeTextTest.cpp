// Texts at the limit of what a port takes, and a holder that does not read: slow.
#include "core/messaging/support/MessageWireFixture.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortText.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace {

using ScObjects::InterAppStream;
using test::PeerProcess;

class LargeTextTest : public test::MessageWireFixture { };

} // namespace

TEST_F(LargeTextTest, IsReadWholeWithABodyOf256Megabytes)
{
    constexpr std::size_t kSize = std::size_t{256} * 1000 * 1000;
    Message message;
    address(message);
    message.body = test::soString(std::string(kSize, '\n'));
    ScObjects::SoString text;
    ASSERT_TRUE(message.writeToString(text));
    message.body = "";
    Message read;
    const char* const end = text.get() + text.length();
    EXPECT_EQ(read.readFromString(text.get(), end), end);
    EXPECT_FALSE(read.isRejected());
    ASSERT_EQ(read.body.view().size(), kSize);
    EXPECT_EQ(read.body.view().find_first_not_of('\n'), std::string_view::npos);
}

TEST_F(LargeTextTest, IsCarriedUpToTheLimitAndNotBeyond)
{
    PeerProcess sender({STREAM_PEER, "tevoro-1.0"});
    ASSERT_EQ(sender.line(), "tevoro-1.0");
    InterAppStream stream("asker-1.0", true);
    sender.tell("fill asker-1.0 " + std::to_string(Pt::LocalPort::kMaxText + 1));
    EXPECT_EQ(sender.line(), "not");
    EXPECT_FALSE(stream.messagePending());
    sender.tell("fill asker-1.0 " + std::to_string(Pt::LocalPort::kMaxText));
    EXPECT_EQ(sender.line(), "sent");
    EXPECT_EQ(test::described(received(stream, Pt::LocalPort::kMaxText)),
        test::described(test::numberedText(0, Pt::LocalPort::kMaxText)));
    EXPECT_EQ(sender.finish(), 0);
}

// The one time that a send may take.
TEST_F(LargeTextTest, IsGivenUpAfterTenSecondsWhenItsHolderNeverReads)
{
    PeerProcess holder(
        {PORT_PEER, "sit", test::hexOf(std::string(ScObjects::gPortName) + "tevoro-1.0")});
    ASSERT_EQ(holder.line(), "held");
    const InterAppStream stream("asker-1.0", true);
    const ScObjects::SoString text = test::soString(std::string(32768, 'a'));
    std::chrono::steady_clock::duration last{};
    bool isSent = true;
    while (isSent) {
        const auto start = std::chrono::steady_clock::now();
        isSent = stream.send("tevoro-1.0", text);
        last = std::chrono::steady_clock::now() - start;
    }
    EXPECT_GE(last, std::chrono::seconds(10));
    EXPECT_LT(last, std::chrono::seconds(20));
    EXPECT_EQ(holder.finish(), 0);
}
