// Local ports on a system that lets nobody widen the buffers of sockets, as most do: this program
// answers for the system when a buffer is set.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kWidest = 212992; // what an unchanged kernel allows
std::atomic<int> gAnswered{0}; // other tests of this program connect on several threads

} // namespace

extern "C" int setsockopt(
    int socket, int level, int option, const void* value, socklen_t length) noexcept
{
    int buffer = 0;
    if (level == SOL_SOCKET && option == SO_SNDBUFFORCE) {
        errno = EPERM;
        return -1;
    }
    if (level == SOL_SOCKET && option == SO_SNDBUF) {
        ++gAnswered;
        std::memcpy(&buffer, value, std::min<std::size_t>(length, sizeof buffer));
        buffer = std::min(buffer, kWidest);
        value = &buffer;
        length = sizeof buffer;
    }
    return static_cast<int>(::syscall(SYS_setsockopt, socket, level, option, value, length));
}

namespace {

using Pt::LocalPortSender;
using test::kKilobyte;

class LocalPortNarrowTest : public test::PortFixture,
                            public testing::WithParamInterface<std::size_t> {
protected:
    LocalPortNarrowTest() { gAnswered = 0; }

    LocalPortSender sender;
};

TEST_P(LocalPortNarrowTest, DeliversATextWholeByPacketOrByMemoryFile)
{
    const auto port = held("p");
    const auto before = test::openDescriptors();
    const std::string text = test::numberedText(1, GetParam());
    ASSERT_TRUE(sender.send("p", text, kPatience));
    EXPECT_EQ(gAnswered, 1);
    const Texts texts = received(*port);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0] == text);
    EXPECT_EQ(test::openDescriptors(), before + 2); // both ends of one connection
}

INSTANTIATE_TEST_SUITE_P(Lengths,
    LocalPortNarrowTest,
    testing::Values(1,
        32 * kKilobyte,
        33 * kKilobyte,
        207 * kKilobyte,
        416 * kKilobyte,
        500 * kKilobyte,
        1024 * kKilobyte,
        4096 * kKilobyte));

TEST_F(LocalPortNarrowTest, KeepsTheOrderOfPacketsAndMemoryFiles)
{
    const auto port = held("p");
    Texts sent;
    for (std::size_t number = 0; number < 30; ++number) {
        const std::size_t size = number % 3 == 0 ? 600 * kKilobyte + number : 300 + number;
        sent.push_back(test::numberedText(number, size));
        ASSERT_TRUE(sender.send("p", sent.back(), kPatience));
    }
    EXPECT_TRUE(received(*port, sent.size()) == sent);
}

TEST_F(LocalPortNarrowTest, WaitsNoLongerThanToldWithAMemoryFile)
{
    constexpr milliseconds kShort{60};
    const auto port = held("p");
    while (sender.send("p", "x", milliseconds(0))) { }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sender.send("p", std::string(600 * kKilobyte, 'x'), kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
}

} // namespace
