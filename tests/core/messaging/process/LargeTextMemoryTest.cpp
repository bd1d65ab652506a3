// What a large text costs the process that reads it, and that one which cannot be held harms
// nobody.
#include "core/messaging/support/PingFixture.h"
#include "platform/common/ports/LocalPort.h"

#include <cstdlib>
#include <string>
#include <tuple>

namespace {

using test::Peer;

constexpr long kMegabyte = 1024; // in kilobytes

class LargeTextMemoryTest : public test::PingFixture,
                            public testing::WithParamInterface<const char*> {
protected:
    LargeTextMemoryTest()
    {
        // A checked build keeps freed blocks for a while, and ends where malloc fails.
        const char* const options = std::getenv("ASAN_OPTIONS");
        environment.set("ASAN_OPTIONS",
            std::string(options != nullptr ? options : "")
                + ":allocator_may_return_null=1:quarantine_size_mb=0");
        start("asker-1.0");
    }

    static std::string port() { return std::string("peer-1.0") + GetParam(); }

    static bool sendBody(std::size_t megabytes, const std::string& behind = {})
    {
        const std::size_t length = megabytes << 20U;
        std::string text = "@QK>Version:2.05\nTarget:" + port()
            + "\nSender:asker-1.0\nType:" + (*GetParam() != '\0' ? "ping" : "Own")
            + "\nECHO_REQUEST:STATUS\nResponse-Request:Result\nContent-Length:"
            + std::to_string(length) + "\n\n";
        text.append(length, 'x');
        text += behind;
        Pt::LocalPortSender sender;
        return sender.send(portOf(port()), text, kPatience);
    }
};

class TextThatCannotBeHeldTest : public LargeTextMemoryTest { };

std::string nameOf(const testing::TestParamInfo<const char*>& row)
{
    return *row.param != '\0' ? "Thread" : "Main";
}

} // namespace

TEST_P(LargeTextMemoryTest, IsAtMostThreeTimesItsLength)
{
    constexpr std::size_t kMegabytes = 64;
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    const long before = std::stol(peer.tell("memory"));
    peer.serve();
    ASSERT_TRUE(sendBody(kMegabytes));
    if (*GetParam() == '\0') {
        EXPECT_TRUE(pumpUntil([&] { return inbox.size() != 0; })); // the result
    }
    EXPECT_EQ(ask("peer-1.0", ""), kEcho); // behind the text, which was read by then
    const long after = std::stol(peer.tell("memory"));
    const double times = static_cast<double>(after - before)
        / static_cast<double>(static_cast<long>(kMegabytes) * kMegabyte);
    RecordProperty("times", std::to_string(times));
    EXPECT_GT(times, 0.9) << "the text has not come";
    EXPECT_LT(times, 3.0);
    EXPECT_EQ(peer.process().finish(), 0);
}

TEST_P(TextThatCannotBeHeldTest, IsDroppedAtEachStepOfItsWay)
{
    // Too little for the text as it comes, for its first copy, and for its second.
    for (const char* const limit : {"60", "130", "200"}) {
        SCOPED_TRACE(limit);
        Peer peer("peer-1.0");
        EXPECT_EQ(ask("peer-1.0", ""), kEcho);
        EXPECT_EQ(peer.tell(std::string("limit ") + limit), "limited");
        peer.serve();
        // With more behind it, so that the body does not take the text over.
        EXPECT_TRUE(sendBody(90, "Target:" + port() + "\nSender:asker-1.0\n\n"));
        EXPECT_EQ(ask("peer-1.0", ""), kEcho);
        EXPECT_EQ(ask("peer-1.0", ""), kEcho);
        EXPECT_EQ(peer.process().finish(), 0);
    }
}

TEST_P(TextThatCannotBeHeldTest, IsNoneThatCanBeHeldOnce)
{
    Peer peer("peer-1.0");
    EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    EXPECT_EQ(peer.tell("limit 260"), "limited");
    if (*GetParam() == '\0') {
        EXPECT_TRUE(sendBody(90));
        EXPECT_EQ(ask("peer-1.0", ""), kEcho);
    } else {
        EXPECT_EQ(ask("peer-1.0", "", kLong, std::string(std::size_t{90} << 20U, 'x')), kEcho);
    }
    EXPECT_EQ(peer.process().finish(), 0);
}

INSTANTIATE_TEST_SUITE_P(OnEachPort, LargeTextMemoryTest, testing::Values("#thread", ""), nameOf);
INSTANTIATE_TEST_SUITE_P(
    OnEachPort, TextThatCannotBeHeldTest, testing::Values("#thread", ""), nameOf);
