// A sender on a system that is short of something for a while: this program answers for it when a
// packet is sent or a memory file made.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/ports/LocalPort.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <mutex>
#include <set>
#include <thread>

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Refusals {
    std::atomic<int> count{0};
    std::atomic<int> error{0};

    bool refuse()
    {
        if (count <= 0)
            return false;
        --count;
        errno = error;
        return true;
    }
};

Refusals gPackets;
Refusals gPacketsWithFile;
Refusals gFiles;
std::mutex gLock;
std::set<int> gSockets; // that something was sent on

} // namespace

extern "C" ssize_t sendmsg(int socket, const msghdr* message, int flags)
{
    if ((message->msg_controllen != 0 ? gPacketsWithFile : gPackets).refuse())
        return -1;
    {
        const std::lock_guard lock(gLock);
        gSockets.insert(socket);
    }
    return ::syscall(SYS_sendmsg, socket, message, flags);
}

extern "C" int memfd_create(const char* name, unsigned int flags) noexcept
{
    return gFiles.refuse() ? -1 : static_cast<int>(::syscall(SYS_memfd_create, name, flags));
}

namespace {

using Pt::LocalPort;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kLargeText = 5000000;

class LocalPortShortageTest : public test::PortFixture {
protected:
    ~LocalPortShortageTest() override
    {
        for (Refusals* refusals : {&gPackets, &gPacketsWithFile, &gFiles})
            refusals->count = 0;
    }

    static void refuse(Refusals& refusals, int error, int count)
    {
        refusals.error = error;
        refusals.count = count;
    }

    void expectDelivered(std::size_t size)
    {
        const std::string text = test::numberedText(size, size);
        EXPECT_TRUE(sender.send("p", text, kPatience));
        const Texts texts = received(*port);
        ASSERT_EQ(texts.size(), 1U);
        EXPECT_TRUE(texts[0] == text);
    }

    // At once without patience, else after it.
    void expectRefused(std::size_t size)
    {
        constexpr milliseconds kShort{60};
        const std::string text(size, 'x');
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(sender.send("p", text, milliseconds(0)));
        EXPECT_FALSE(sender.send("p", text, kShort));
        EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
        EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
        EXPECT_THAT(received(*port), IsEmpty());
    }

    std::unique_ptr<LocalPort> port = held("p");
    LocalPortSender sender;
};

class LocalPortPassingTest : public LocalPortShortageTest,
                             public testing::WithParamInterface<int> { };

TEST_P(LocalPortPassingTest, IsWaitedForByATextInAMemoryFile)
{
    refuse(gPacketsWithFile, GetParam(), 5);
    expectDelivered(kLargeText);
    EXPECT_EQ(gPacketsWithFile.count, 0);
    refuse(gPacketsWithFile, GetParam(), INT_MAX);
    expectRefused(kLargeText);
    refuse(gPacketsWithFile, 0, 0);
    for (int i = 0; i < 4; ++i) // what was refused does not count as on the way
        expectDelivered(kLargeText);
}

TEST_P(LocalPortPassingTest, MakesAPacketAMemoryFile)
{
    refuse(gPackets, GetParam(), 1);
    expectDelivered(300);
    refuse(gPackets, GetParam(), 1);
    refuse(gPacketsWithFile, GetParam(), 3);
    expectDelivered(300);
}

INSTANTIATE_TEST_SUITE_P(
    Shortages, LocalPortPassingTest, testing::Values(ENOBUFS, ENOMEM, ETOOMANYREFS));

TEST_F(LocalPortShortageTest, OfMemoryFilesIsWaitedFor)
{
    for (const int error : {EMFILE, ENFILE, ENOMEM}) {
        refuse(gFiles, error, 5);
        expectDelivered(kLargeText);
        refuse(gFiles, error, INT_MAX);
        expectRefused(kLargeText);
        refuse(gFiles, 0, 0);
    }
}

TEST_F(LocalPortShortageTest, IsNotWhatARefusalForGoodIs)
{
    refuse(gFiles, ENOSYS, 1);
    EXPECT_FALSE(sender.send("p", std::string(kLargeText, 'x'), kPatience));
    refuse(gPacketsWithFile, EPERM, 1);
    EXPECT_FALSE(sender.send("p", std::string(kLargeText, 'x'), kPatience));
    expectDelivered(kLargeText);
}

TEST_F(LocalPortShortageTest, IsNotWaitedForOnceTheHolderHasLeft)
{
    expectDelivered(300);
    refuse(gPacketsWithFile, ETOOMANYREFS, INT_MAX);
    bool isSent = true;
    const auto start = std::chrono::steady_clock::now();
    std::thread waiter([&] { isSent = sender.send("p", std::string(kLargeText, 'x'), kPatience); });
    EXPECT_TRUE(test::waitUntil([] { return gPacketsWithFile.count < INT_MAX; }));
    port.reset();
    waiter.join();
    EXPECT_FALSE(isSent);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
}

// On two connections, texts could overtake each other.
TEST_F(LocalPortShortageTest, LeavesThreadsThatConnectAtOnceWithOneConnection)
{
    constexpr int kMaxQueue = 128;
    for (int i = 0; i <= kMaxQueue; ++i)
        Pt::isLocalPortFree("p");
    gSockets.clear();
    std::atomic<int> sent{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] { sent += sender.send("p", "text", kPatience) ? 1 : 0; });
    std::this_thread::sleep_for(milliseconds(50)); // all of them wait to be let in, mostly
    EXPECT_EQ(received(*port, 4).size(), 4U);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sent, 4);
    EXPECT_EQ(gSockets.size(), 1U);
}

} // namespace
