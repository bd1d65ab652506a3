#include "platform/platforms/linux/ports/PacketReader.h"

#include "support/TestFolder.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

using Pt::PacketReader;

namespace {

constexpr std::size_t kRoom = 64 * 1024;

class PacketReaderTest : public testing::Test {
protected:
    PacketReaderTest()
    {
        int ends[2] = {};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        ours = Pt::Descriptor(ends[0]);
        theirs = Pt::Descriptor(ends[1]);
    }

    void send(const std::string& bytes)
    {
        EXPECT_EQ(::send(theirs.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
            static_cast<ssize_t>(bytes.size()));
    }
    std::string_view text() const { return {reader.text(), reader.size()}; }

    PacketReader reader{kRoom};
    Pt::Descriptor ours;
    Pt::Descriptor theirs;
};

} // namespace

TEST_F(PacketReaderTest, ReadsOnePacketAtATime)
{
    EXPECT_EQ(reader.read(ours.get()), PacketReader::Outcome::kNothing);
    send("first");
    send("second");
    ASSERT_EQ(reader.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(text(), "first");
    ASSERT_EQ(reader.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(text(), "second");
    EXPECT_EQ(reader.read(ours.get()), PacketReader::Outcome::kNothing);
}

TEST_F(PacketReaderTest, DropsAPacketThatWasCut)
{
    send(std::string(kRoom, 'f'));
    send(std::string(kRoom + 1, 'c'));
    send("next");
    ASSERT_EQ(reader.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(text(), std::string(kRoom, 'f'));
    EXPECT_EQ(reader.read(ours.get()), PacketReader::Outcome::kDropped);
    ASSERT_EQ(reader.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(text(), "next");
}

TEST_F(PacketReaderTest, SeesTheEndOfTheOtherSideBehindItsLastPacket)
{
    send("last");
    theirs = Pt::Descriptor();
    EXPECT_EQ(reader.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(reader.read(ours.get()), PacketReader::Outcome::kEnd);
    EXPECT_EQ(reader.read(-1), PacketReader::Outcome::kEnd); // as every refusal of the system
}

// What was given back reads as zeros, in the one buffer that all packets come to.
TEST_F(PacketReaderTest, GivesTheMemoryOfLongPacketsBack)
{
    constexpr std::size_t kKept = std::size_t{2} * 1024 * 1024;
    constexpr int kSendBuffer = 4 * 1024 * 1024;
    if (::setsockopt(theirs.get(), SOL_SOCKET, SO_SNDBUFFORCE, &kSendBuffer, sizeof kSendBuffer)
        != 0)
        GTEST_SKIP() << "only root can send packets of that length";
    PacketReader wide;
    const std::string packet(kKept + 1, 'x');
    if (::send(theirs.get(), packet.data(), packet.size(), MSG_DONTWAIT) == -1) {
        GTEST_SKIP() << "the system has no room for a packet of that length in one piece";
    }
    send("short");
    ASSERT_EQ(wide.read(ours.get()), PacketReader::Outcome::kText);
    ASSERT_EQ(wide.read(ours.get()), PacketReader::Outcome::kText);
    EXPECT_EQ(wide.text()[kKept], 'x');
    wide.trim();
    EXPECT_EQ(wide.text()[kKept - 1], 'x');
    EXPECT_EQ(wide.text()[kKept], '\0');
    EXPECT_EQ(std::string_view(wide.text(), wide.size()), "short");
}
