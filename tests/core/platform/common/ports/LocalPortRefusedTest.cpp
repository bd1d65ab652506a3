// A holder on a system that refuses it something: this program answers for the system when a
// descriptor is to be watched, a packet read, or memory mapped.

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <new>

#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int gAddsRefused = 0;
int gReadError = 0;
int gMappingsRefused = 0;

} // namespace

extern "C" int epoll_ctl(int set, int operation, int descriptor, epoll_event* event) noexcept
{
    if (operation == EPOLL_CTL_ADD && gAddsRefused > 0) {
        --gAddsRefused;
        errno = ENOSPC;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_epoll_ctl, set, operation, descriptor, event));
}

extern "C" ssize_t recvmsg(int socket, msghdr* message, int flags)
{
    if (gReadError != 0) {
        errno = gReadError;
        return -1;
    }
    return ::syscall(SYS_recvmsg, socket, message, flags);
}

extern "C" int mprotect(void* start, std::size_t size, int protection) noexcept
{
    if (gMappingsRefused > 0) {
        --gMappingsRefused;
        errno = ENOMEM;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_mprotect, start, size, protection));
}

namespace {

using Pt::LocalPort;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t kLarge = 5000000;

class LocalPortRefusedTest : public test::PortFixture {
protected:
    ~LocalPortRefusedTest() override { gAddsRefused = gReadError = gMappingsRefused = 0; }

    void send(const std::string& text) { ASSERT_TRUE(sender.send("p", text, kPatience)); }

    // Has no memory for any text, or for those after the first ones.
    void expectNoMemory(std::size_t taken = 0)
    {
        Texts texts;
        EXPECT_THROW(port->receive([&](char*, std::size_t) {
            if (texts.size() == taken)
                throw std::bad_alloc();
            texts.emplace_back();
        }),
            std::bad_alloc);
        EXPECT_TRUE(port->hasMore());
    }

    bool isWokenAgain() const { return test::isReadable(port->descriptor(), milliseconds(1000)); }

    std::unique_ptr<LocalPort> port = held("p");
    LocalPortSender sender;
};

TEST_F(LocalPortRefusedTest, TakesWhatANewcomerSentThatCannotBeWatched)
{
    for (const char* text : {"1", "2", "3"})
        send(text);
    gAddsRefused = INT_MAX;
    EXPECT_THAT(received(*port), ElementsAre("1", "2", "3"));
    send("4"); // on a connection that is the next newcomer
    EXPECT_THAT(received(*port), ElementsAre("4"));
    send("5");
    gAddsRefused = 0;
    EXPECT_TRUE(isWokenAgain());
    EXPECT_THAT(received(*port), ElementsAre("5"));
    send("6");
    EXPECT_THAT(received(*port), ElementsAre("6"));
}

TEST_F(LocalPortRefusedTest, TakesAllOfANewcomerThatCannotBeWatchedOverSeveralCalls)
{
    for (const char* text : {"1", "2", "3"})
        send(text);
    gAddsRefused = INT_MAX;
    Texts texts;
    const auto take = [&](char* text, std::size_t size) { texts.emplace_back(text, size); };
    for (int calls = 0; calls < 3; ++calls) {
        EXPECT_TRUE(isWokenAgain());
        EXPECT_EQ(port->receive(take, {1, SIZE_MAX}), 1U);
        EXPECT_TRUE(port->hasMore());
    }
    send("4");
    port->receive(take);
    EXPECT_THAT(texts, ElementsAre("1", "2", "3", "4"));
}

// The set of whoever waits refuses, too: it is tried again, and nothing is thrown.
TEST_F(LocalPortRefusedTest, ComesBackToNewcomersThatNobodyCouldBeWokenFor)
{
    EXPECT_FALSE(port->wait(milliseconds(0)));
    send("1");
    gAddsRefused = INT_MAX;
    EXPECT_THAT(received(*port), ElementsAre("1"));
    send("2");
    EXPECT_THAT(received(*port), ElementsAre("2"));
    send("3");
    gAddsRefused = 0;
    EXPECT_TRUE(port->wait(milliseconds(1000)));
    EXPECT_THAT(received(*port), ElementsAre("3"));
    send("4");
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(received(*port), ElementsAre("4"));
}

TEST_F(LocalPortRefusedTest, WaitsOnAllOrOnNothing)
{
    send("1");
    EXPECT_THAT(received(*port), ElementsAre("1"));
    gAddsRefused = 1;
    EXPECT_THROW(port->wait(milliseconds(0)), std::system_error);
    send("2");
    EXPECT_TRUE(port->wait(milliseconds(1000)));
    EXPECT_THAT(received(*port), ElementsAre("2"));
}

TEST_F(LocalPortRefusedTest, KeepsASenderWhoseTextCannotBeReadNow)
{
    send("1");
    EXPECT_THAT(received(*port), ElementsAre("1"));
    send("2");
    for (const int error : {ENOMEM, ENOBUFS, EIO}) {
        gReadError = error;
        EXPECT_THAT(received(*port), IsEmpty());
        EXPECT_TRUE(test::isReadable(port->descriptor()));
    }
    gReadError = 0;
    EXPECT_THAT(received(*port), ElementsAre("2"));
}

TEST_F(LocalPortRefusedTest, LetsASenderGoThatWasReset)
{
    send("1");
    EXPECT_THAT(received(*port), ElementsAre("1"));
    const auto before = test::openDescriptors();
    send("2");
    gReadError = ECONNRESET;
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_EQ(test::openDescriptors(), before - 1);
}

TEST_F(LocalPortRefusedTest, KeepsATextForWhichItsTakerHasNoMemory)
{
    for (const std::string& text : {std::string("1"), std::string("2"), std::string("3")})
        send(text);
    expectNoMemory(1); // the first was taken
    expectNoMemory();
    EXPECT_EQ(port->receive([](char*, std::size_t) {}, {0, 0}), 0U);
    LocalPortSender second;
    ASSERT_TRUE(second.send("p", "4", kPatience));
    Texts texts;
    const auto take = [&](char* text, std::size_t size) { texts.emplace_back(text, size); };
    EXPECT_EQ(port->receive(take, {1, SIZE_MAX}), 1U);
    EXPECT_THAT(texts, ElementsAre("2"));
    port->receive(take);
    EXPECT_THAT(texts, ElementsAre("2", "3", "4"));
    EXPECT_FALSE(port->hasMore());
    EXPECT_FALSE(test::isReadable(port->descriptor(), milliseconds(150)));
}

TEST_F(LocalPortRefusedTest, WakesWhoeverWaitsForATextThatItKept)
{
    send("hello");
    EXPECT_THAT(received(*port), ElementsAre("hello"));
    send(test::numberedText(1, kLarge));
    expectNoMemory();
    EXPECT_TRUE(isWokenAgain()) << "though its socket has nothing more";
    const Texts texts = received(*port);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0] == test::numberedText(1, kLarge));
    EXPECT_FALSE(test::isReadable(port->descriptor(), milliseconds(150)));
}

TEST_F(LocalPortRefusedTest, KeepsATextThoughItsSenderLeft)
{
    {
        LocalPortSender leaving;
        ASSERT_TRUE(leaving.send("p", "last", kPatience));
    }
    expectNoMemory();
    EXPECT_THAT(received(*port), ElementsAre("last"));
    EXPECT_FALSE(port->hasMore());
}

TEST_F(LocalPortRefusedTest, KeepsATextForWhichAWaitHasNoMemory)
{
    send("hello");
    EXPECT_EQ(received(*port).size(), 1U);
    send("1");
    send("2");
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THROW(
        port->receiveAwaited([](char*, std::size_t) { throw std::bad_alloc(); }), std::bad_alloc);
    EXPECT_TRUE(port->hasMore());
    Texts texts;
    EXPECT_TRUE(port->wait(kPatience));
    port->receiveAwaited([&](char* text, std::size_t size) { texts.emplace_back(text, size); });
    EXPECT_EQ(texts.at(0), "1");
    for (std::string& text : received(*port))
        texts.push_back(std::move(text));
    EXPECT_THAT(texts, ElementsAre("1", "2"));
}

TEST_F(LocalPortRefusedTest, KeepsATextInAMemoryFileThatCannotBeMapped)
{
    send(test::numberedText(1, kLarge));
    send("2");
    gMappingsRefused = 2;
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_TRUE(port->hasMore());
    EXPECT_TRUE(isWokenAgain());
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_EQ(gMappingsRefused, 0);
    Texts texts = received(*port);
    while (port->hasMore())
        for (std::string& text : received(*port))
            texts.push_back(std::move(text));
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_TRUE(texts[0] == test::numberedText(1, kLarge));
    EXPECT_EQ(texts[1], "2");
}

} // namespace
