#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "core/platform/support/ThreadState.h"
#include "platform/common/ports/LocalPort.h"

#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::kKilobyte;
using test::kMegabyte;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LocalPortSenderTest : public test::PortFixture {
protected:
    LocalPortSender sender;
};

class LocalPortSenderLengthTest : public LocalPortSenderTest,
                                  public testing::WithParamInterface<std::size_t> { };

// The descriptor of a text in a memory file, or -1.
int memoryText()
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (target.find("memfd:local-port-text") != std::string::npos)
            return std::stoi(entry.path().filename().string());
    }
    return -1;
}

} // namespace

TEST_P(LocalPortSenderLengthTest, DeliversATextWhole)
{
    const auto port = held("p");
    const std::string text = test::numberedText(1, GetParam());
    ASSERT_TRUE(sender.send("p", text, kPatience));
    const Texts texts = received(*port);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0] == text); // not printed: it may be long
    EXPECT_THAT(received(*port), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lengths,
    LocalPortSenderLengthTest,
    testing::Values(1,
        8,
        300,
        4096,
        32 * kKilobyte,
        32 * kKilobyte + 1,
        33 * kKilobyte,
        kMegabyte,
        5 * kMegabyte,
        LocalPort::kMaxText));

TEST_F(LocalPortSenderTest, SendsNeitherAnEmptyNorATooLongText)
{
    const auto port = held("p");
    EXPECT_FALSE(sender.send("p", "", kPatience));
    EXPECT_FALSE(sender.send("p", std::string(LocalPort::kMaxText + 1, 'x'), kPatience));
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_TRUE(sender.send("p", "x", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("x"));
}

TEST_F(LocalPortSenderTest, KeepsTheOrderOfShortAndLongTexts)
{
    const auto port = held("p");
    Texts sent;
    for (std::size_t number = 0; number < 60; ++number) {
        const std::size_t size = number % 20 == 5 ? 5 * kMegabyte : 1 + number * 100;
        sent.push_back(test::numberedText(number, size));
        ASSERT_TRUE(sender.send("p", sent.back(), kPatience));
    }
    EXPECT_TRUE(received(*port, sent.size()) == sent);
}

TEST_F(LocalPortSenderTest, UsesOneConnectionAgain)
{
    const auto port = held("p");
    ASSERT_TRUE(sender.send("p", "first", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("first"));
    const auto before = test::openDescriptors();
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_EQ(received(*port).size(), 100U);
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(LocalPortSenderTest, LetsGoOfConnectionsToHoldersThatLeft)
{
    const auto before = test::openDescriptors();
    for (int i = 0; i < 50; ++i) {
        const std::string name = std::to_string(i) + 'p';
        const auto port = held(name);
        ASSERT_TRUE(sender.send(name, "text", kPatience));
    }
    EXPECT_LE(test::openDescriptors(), before + 1);
    const auto port = held("p");
    const auto second = held("q");
    const auto between = test::openDescriptors();
    sender.send("p", "text", kPatience);
    EXPECT_EQ(test::openDescriptors(), between); // one more, one less
    sender.send("q", "text", kPatience);
    sender.send("p", "text", kPatience);
    EXPECT_EQ(received(*port).size(), 2U);
    EXPECT_EQ(received(*second).size(), 1U);
}

TEST_F(LocalPortSenderTest, FindsANewHolderOfTheName)
{
    auto port = held("p");
    ASSERT_TRUE(sender.send("p", "old", kPatience));
    port.reset();
    port = held("p");
    ASSERT_TRUE(sender.send("p", "new", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("new"));
}

TEST_F(LocalPortSenderTest, RaisesNoSignalWhenItsHolderLeft)
{
    struct sigaction before = {};
    struct sigaction action = {};
    static volatile sig_atomic_t raised = 0;
    action.sa_handler = [](int) { raised = 1; };
    ::sigaction(SIGPIPE, &action, &before);
    auto port = held("p");
    ASSERT_TRUE(sender.send("p", "text", kPatience));
    port.reset();
    EXPECT_FALSE(sender.send("p", "text", kPatience));
    ::sigaction(SIGPIPE, &before, nullptr);
    EXPECT_EQ(raised, 0);
}

TEST_F(LocalPortSenderTest, RefusesATextAtOnceWhenNobodyHoldsTheName)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sender.send("p", "text", kPatience)); // no folder either
    held("p").reset();
    EXPECT_FALSE(sender.send("p", "text", kPatience));
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
    EXPECT_TRUE(Pt::isLocalPortFree("p"));
}

TEST_F(LocalPortSenderTest, WaitsNoLongerThanToldForAHolderThatDoesNotRead)
{
    constexpr milliseconds kShort{60};
    const auto port = held("p");
    Texts sent;
    std::string text;
    auto start = std::chrono::steady_clock::now();
    do {
        text = test::numberedText(sent.size(), 30000);
        start = std::chrono::steady_clock::now();
        sent.push_back(text);
    } while (sender.send("p", text, kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPatience / 2);
    sent.pop_back();
    EXPECT_FALSE(sender.send("p", text, milliseconds(0)));
    EXPECT_FALSE(sender.send("p", text, milliseconds(-1)));
    // Whole, in order, and nothing of the refused.
    EXPECT_TRUE(received(*port, sent.size()) == sent);
    EXPECT_TRUE(sender.send("p", "room again", milliseconds(0)));
    EXPECT_THAT(received(*port), ElementsAre("room again"));
}

TEST_F(LocalPortSenderTest, GoesOnAsSoonAsTheHolderMakesRoom)
{
    const auto port = held("p");
    while (sender.send("p", std::string(30000, 'x'), milliseconds(0))) { }
    bool isSent = false;
    std::thread waiter([&] { isSent = sender.send("p", "last", milliseconds::max()); });
    Texts texts;
    while (texts.empty() || texts.back() != "last")
        texts = received(*port, 1);
    waiter.join();
    EXPECT_TRUE(isSent);
}

TEST_F(LocalPortSenderTest, KeepsALargeTextFromProgramsThatStartWhileItWaits)
{
    const auto port = held("p");
    std::size_t count = 1;
    while (sender.send("p", std::string(30000, 'x'), milliseconds(0)))
        ++count;
    bool isSent = false;
    const std::string text(5 * kMegabyte, 'y');
    std::thread waiter([&] { isSent = sender.send("p", text, kPatience); });
    EXPECT_TRUE(test::waitUntil([] { return memoryText() != -1; }));
    EXPECT_EQ(::fcntl(memoryText(), F_GETFD), FD_CLOEXEC);
    const Texts texts = received(*port, count);
    waiter.join();
    EXPECT_TRUE(isSent);
    ASSERT_EQ(texts.size(), count);
    EXPECT_TRUE(texts.back() == text);
}

// Whoever asks and goes stands in the queue of newcomers until the holder reads.
TEST_F(LocalPortSenderTest, WaitsNoLongerThanToldWhileTheQueueIsFull)
{
    constexpr milliseconds kShort{60};
    constexpr int kMaxQueue = 128;
    const auto port = held("p");
    for (int i = 0; i <= kMaxQueue; ++i)
        ASSERT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_EQ(Pt::heldLocalPorts().size(), 1U);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sender.send("p", "text", kShort));
    EXPECT_GE(std::chrono::steady_clock::now() - start, kShort);
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
}

TEST_F(LocalPortSenderTest, GoesOnAsSoonAsAFullQueueMovesOn)
{
    const auto port = held("p");
    for (int i = 0; i <= 128; ++i)
        Pt::isLocalPortFree("p");
    bool isSent = false;
    std::thread waiter([&] { isSent = sender.send("p", "text", kPatience); });
    EXPECT_THAT(received(*port, 1), ElementsAre("text"));
    waiter.join();
    EXPECT_TRUE(isSent);
}
