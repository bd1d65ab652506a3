// Local ports on a system that lets nobody widen the buffers of sockets, as most do: this program
// answers for the system when a buffer is set.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr int kWidest = 212992; // what an unchanged kernel allows
int g_answered = 0;

} // namespace

extern "C" int setsockopt(
    int socket, int level, int option, void const* value, socklen_t length) noexcept
{
    int buffer = 0;
    if (level == SOL_SOCKET && option == SO_SNDBUFFORCE) {
        errno = EPERM;
        return -1;
    }
    if (level == SOL_SOCKET && option == SO_SNDBUF) {
        ++g_answered;
        std::memcpy(&buffer, value, std::min<std::size_t>(length, sizeof buffer));
        buffer = std::min(buffer, kWidest);
        value = &buffer;
        length = sizeof buffer;
    }
    return static_cast<int>(::syscall(SYS_setsockopt, socket, level, option, value, length));
}

namespace {

using Pt::LocalPortSender;

constexpr std::size_t kKilobyte = 1024;

class LocalPortNarrowTest : public test::PortFixture,
                            public testing::WithParamInterface<std::size_t> {
protected:
    LocalPortNarrowTest() { g_answered = 0; }

    LocalPortSender sender;
};

TEST_P(LocalPortNarrowTest, DeliversATextWholeByPacketOrByMemoryFile)
{
    auto const port = held("p");
    auto const before = test::openDescriptors();
    std::string const text = test::numberedText(1, GetParam());
    ASSERT_TRUE(sender.send("p", text, kPatience));
    EXPECT_EQ(g_answered, 1);
    Texts const texts = received(*port);
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
    auto const port = held("p");
    Texts sent;
    for (std::size_t number = 0; number < 30; ++number) {
        std::size_t const size = number % 3 == 0 ? 600 * kKilobyte + number : 300 + number;
        sent.push_back(test::numberedText(number, size));
        ASSERT_TRUE(sender.send("p", sent.back(), kPatience));
    }
    EXPECT_TRUE(received(*port, sent.size()) == sent);
}

TEST_F(LocalPortNarrowTest, WaitsNoLongerThanToldWithAMemoryFile)
{
    constexpr milliseconds kShort{60};
    auto const port = held("p");
    while (sender.send("p", "x", milliseconds(0))) { }
    auto const start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sender.send("p", std::string(600 * kKilobyte, 'x'), kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
}

} // namespace
