#include "platform/common/services/DescriptorChannel.h"

#include "support/TestFolder.h"

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {
namespace {

using namespace std::chrono_literals;
using Heard = Pt::DescriptorChannel::Heard;

class DescriptorChannelTest : public testing::Test {
protected:
    DescriptorChannelTest()
    {
        std::error_code error;
        auto ends = Pt::DescriptorChannel::makePair(error);
        EXPECT_FALSE(error) << error.message();
        here = std::move(ends->first);
        there = std::move(ends->second);
    }

    Pt::DescriptorChannel here;
    Pt::DescriptorChannel there;
    Pt::ChannelMessage message;
};

TEST_F(DescriptorChannelTest, KeepsMessagesApart)
{
    EXPECT_FALSE(here.send("one"));
    EXPECT_FALSE(here.send("two"));
    EXPECT_EQ(there.receive(message), Heard::kMessage);
    EXPECT_EQ(message.bytes, "one");
    EXPECT_EQ(there.receive(message), Heard::kMessage);
    EXPECT_EQ(message.bytes, "two");
}

TEST_F(DescriptorChannelTest, HandsOverOpenFiles)
{
    const TestFolder folder;
    const Pt::OwnedDescriptor first(::open(folder.write("a", "A").c_str(), O_RDONLY));
    const Pt::OwnedDescriptor second(::open(folder.write("b", "B").c_str(), O_RDONLY));
    const int both[] = {first.get(), second.get()};
    EXPECT_FALSE(here.send("files", both));
    EXPECT_EQ(there.receive(message), Heard::kMessage);
    ASSERT_EQ(message.descriptors.size(), 2U);
    for (const char expected : {'A', 'B'}) {
        const int number = message.descriptors[expected == 'B' ? 1 : 0].get();
        char byte = 0;
        EXPECT_EQ(::read(number, &byte, 1), 1);
        EXPECT_EQ(byte, expected);
        EXPECT_EQ(::fcntl(number, F_GETFD), FD_CLOEXEC);
    }
}

TEST_F(DescriptorChannelTest, WaitsNoLongerThanItIsTold)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(there.receive(message, 50ms), Heard::kNothingYet);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);
}

TEST_F(DescriptorChannelTest, TellsTheEndOfTheOtherSide)
{
    here = {};
    EXPECT_EQ(there.receive(message), Heard::kEnd);
    EXPECT_EQ(there.send("nobody"), std::errc::broken_pipe);
}

TEST_F(DescriptorChannelTest, DoesNotWaitForOneWhoDoesNotRead)
{
    std::error_code error;
    int sent = 0;
    while (!(error = here.send(std::string(1000, 'x'))) && sent < 100'000)
        ++sent;
    EXPECT_EQ(error, std::errc::resource_unavailable_try_again);
    EXPECT_GT(sent, 10);
}

TEST_F(DescriptorChannelTest, SendsNothingThatIsTooLong)
{
    EXPECT_FALSE(here.send(std::string(Pt::DescriptorChannel::kMaxMessage, 'x')));
    EXPECT_EQ(here.send(std::string(Pt::DescriptorChannel::kMaxMessage + 1, 'x')),
        std::errc::message_size);
    const std::vector<int> many(Pt::DescriptorChannel::kMaxDescriptors + 1, STDERR_FILENO);
    EXPECT_EQ(here.send("", many), std::errc::message_size);
}

TEST_F(DescriptorChannelTest, TakesATooLongMessageForTheEnd)
{
    const std::string text(Pt::DescriptorChannel::kMaxMessage + 1, 'x');
    EXPECT_EQ(
        ::send(here.descriptor(), text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    EXPECT_EQ(there.receive(message), Heard::kEnd);
}

} // namespace
} // namespace test
