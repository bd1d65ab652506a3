#include "platform/common/ports/LocalPort.h"

#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"

#include <atomic>
#include <set>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::kMegabyte;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LocalPortTest : public test::PortFixture {
protected:
    LocalPortSender sender;
};

class LocalPortNameTest : public LocalPortTest, public testing::WithParamInterface<std::string> { };

std::set<int> openNumbers()
{
    std::set<int> numbers;
    for (int number = 0; number < 1024; ++number)
        if (::fcntl(number, F_GETFD) != -1)
            numbers.insert(number);
    return numbers;
}

// Those open now and not before that another program would inherit.
std::set<int> inheritedSince(const std::set<int>& before)
{
    std::set<int> inherited;
    for (const int number : openNumbers())
        if (!before.contains(number) && (::fcntl(number, F_GETFD) & FD_CLOEXEC) == 0)
            inherited.insert(number);
    return inherited;
}

} // namespace

TEST_P(LocalPortNameTest, FindsItsHolder)
{
    const auto port = held(GetParam());
    const auto other = held(GetParam() + "x");
    EXPECT_EQ(port->name(), GetParam());
    EXPECT_TRUE(sender.send(GetParam(), "text", kPatience));
    EXPECT_THAT(received(*other), IsEmpty());
    EXPECT_THAT(received(*port), ElementsAre("text"));
}

INSTANTIATE_TEST_SUITE_P(Names,
    LocalPortNameTest,
    testing::Values("",
        "mfx-1.0",
        R"(\\.\port\Ned_and_Olaf_mfx-1.0)",
        "../../etc/passwd",
        "a/b",
        "two\nlines\n",
        std::string("nul\0nul", 7),
        "\xff\xfe\x80",
        std::string(70000, 'n')));

TEST_F(LocalPortTest, LiesInAFolderWithALongPath)
{
    const std::string deep = folder.path(std::string(60, 'd') + "/" + std::string(60, 'e'));
    std::filesystem::create_directories(deep);
    environment.set("TEVOROTALK_PORT_DIR", deep + "/ports");
    const auto port = held("p");
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
}

TEST_F(LocalPortTest, MakesItsFolderForThisUserAlone)
{
    const auto port = held("p");
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(folder.path("ports")).permissions(), perms::owner_all);
    EXPECT_EQ(
        std::filesystem::status(lockPath()).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(LocalPortTest, NamesItsFilesAfterTheDigestOfTheName)
{
    const auto port = held("abc");
    EXPECT_THAT(files(),
        testing::UnorderedElementsAre(
            "ba7816bf8f01cfea414140de5dae2223.lock", "ba7816bf8f01cfea414140de5dae2223.sock"));
    EXPECT_EQ(test::read(lockPath()), std::to_string(::getpid()) + "\nabc\n");
}

TEST_F(LocalPortTest, IsHeldByOneAtATime)
{
    auto port = held("p");
    EXPECT_FALSE(LocalPort::hold("p"));
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_TRUE(LocalPort::hold("q"));
    port.reset();
    EXPECT_TRUE(Pt::isLocalPortFree("p"));
    EXPECT_TRUE(LocalPort::hold("p"));
}

TEST_F(LocalPortTest, IsHeldByOneAtATimeHoweverOftenItChangesHands)
{
    std::atomic<int> holders{0};
    std::atomic<int> changes{0};
    std::atomic<int> wrong{0};
    const auto compete = [&] {
        for (int i = 0; i < 3000; ++i) {
            auto port = LocalPort::hold("p");
            if (!port)
                continue;
            wrong += holders++;
            changes++;
            holders--;
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(compete);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(changes, 100);
}

TEST_F(LocalPortTest, LeavesNoFileBehind)
{
    held("p").reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(LocalPortTest, ReplacesWhatAKilledHolderLeft)
{
    auto port = held("p");
    const std::string socket = socketPath();
    const std::string lock = lockPath();
    port.reset();
    std::ofstream(lock) << "1234567\na name that was longer than the new one\n";
    std::ofstream(socket) << "in the way";
    port = held("p");
    EXPECT_EQ(test::read(lock), std::to_string(::getpid()) + "\np\n");
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
}

TEST_F(LocalPortTest, FollowsNoLinkToItsLock)
{
    auto port = held("p");
    const std::string lock = lockPath();
    port.reset();
    const std::string mine = folder.write("mine", "kept");
    std::filesystem::create_symlink(mine, lock);
    EXPECT_FALSE(LocalPort::hold("p"));
    EXPECT_EQ(test::read(mine), "kept");
}

TEST_F(LocalPortTest, LeavesTheFilesOfALaterHolder)
{
    auto first = held("p");
    for (const std::string& name : files())
        std::filesystem::remove(folder.path("ports/" + name));
    const auto second = held("p");
    first.reset();
    EXPECT_EQ(files().size(), 2U);
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*second), ElementsAre("text"));
}

TEST_F(LocalPortTest, IsNotFreedByAForkedChild)
{
    auto port = held("p");
    const pid_t child = ::fork();
    if (child == 0) {
        port.reset();
        ::_exit(0);
    }
    EXPECT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
}

TEST_F(LocalPortTest, TakesFromManySenders)
{
    constexpr std::size_t kSenders = 100;
    const auto port = held("p");
    std::vector<LocalPortSender> senders(kSenders);
    for (int round = 0; round < 3; ++round) {
        std::set<std::string> sent;
        for (std::size_t number = 0; number < kSenders; ++number) {
            const std::string text = test::numberedText(number, 50);
            EXPECT_TRUE(senders[number].send("p", text, kPatience));
            sent.insert(text);
        }
        const Texts texts = received(*port);
        EXPECT_EQ(texts.size(), kSenders);
        EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()), sent);
    }
}

TEST_F(LocalPortTest, IsReadableWhileThereIsSomethingToDo)
{
    const auto port = held("p");
    EXPECT_FALSE(test::isReadable(port->descriptor()));
    {
        LocalPortSender passing;
        ASSERT_TRUE(passing.send("p", "text", kPatience));
        EXPECT_TRUE(test::isReadable(port->descriptor()));
        EXPECT_EQ(received(*port).size(), 1U);
        EXPECT_FALSE(test::isReadable(port->descriptor()));
        ASSERT_TRUE(passing.send("p", "text", kPatience));
        EXPECT_TRUE(test::isReadable(port->descriptor()));
        EXPECT_EQ(received(*port).size(), 1U);
    }
    EXPECT_TRUE(test::isReadable(port->descriptor())); // its sender left
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_FALSE(test::isReadable(port->descriptor()));
}

TEST_F(LocalPortTest, GivesTheTextThatEndedAWaitAlone)
{
    const auto port = held("port");
    const auto awaited = [&] {
        std::vector<std::string> texts;
        port->receiveAwaited([&](char* text, std::size_t size) { texts.emplace_back(text, size); });
        return texts;
    };
    EXPECT_THAT(awaited(), IsEmpty()) << "nobody waited";
    EXPECT_TRUE(sender.send("port", "newcomer", kPatience));
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(awaited(), IsEmpty()) << "the wait ended for a sender that has to be let in";
    EXPECT_THAT(received(*port), ElementsAre("newcomer"));
    for (const char* text : {"1", "2", "3"})
        EXPECT_TRUE(sender.send("port", text, kPatience));
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(awaited(), ElementsAre("1"));
    EXPECT_THAT(awaited(), IsEmpty()) << "one wait, one text";
    EXPECT_THAT(received(*port), ElementsAre("2", "3"));
    EXPECT_FALSE(port->wait(std::chrono::milliseconds(1)));
    EXPECT_THAT(awaited(), IsEmpty());
}

TEST_F(LocalPortTest, GivesNothingOfASenderThatLeftDuringTheWait)
{
    const auto port = held("port");
    auto leaving = std::make_unique<LocalPortSender>();
    EXPECT_TRUE(leaving->send("port", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
    leaving.reset();
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(received(*port), IsEmpty()); // the connection goes
    EXPECT_EQ(port->receiveAwaited([](char*, std::size_t) { FAIL(); }), 0U);
}

// So that the memory of one serves the next.
TEST_F(LocalPortTest, GivesLargeTextsOfASenderOneByOne)
{
    const auto port = held("port");
    const std::size_t size = kMegabyte * 6 / 10;
    std::thread writer([&] {
        for (const char mark : {'1', '2', '3'})
            EXPECT_TRUE(sender.send("port", std::string(size, mark), kPatience));
    });
    std::string marks;
    while (marks.size() < 3) {
        ASSERT_TRUE(port->wait(kPatience));
        const std::size_t before = marks.size();
        port->receive([&](char* text, std::size_t length) {
            EXPECT_EQ(std::string(text, length), std::string(size, *text));
            marks += *text;
        });
        EXPECT_LE(marks.size(), before + 1);
    }
    writer.join();
    EXPECT_EQ(marks, "123");
}

// Who sent after a text had arrived is read after it, also when the texts before are taken one by
// one.
TEST_F(LocalPortTest, FinishesASendersTextsBeforeItBeginsAnothers)
{
    const auto port = held("port");
    LocalPortSender second;
    EXPECT_TRUE(sender.send("port", "hello", kPatience));
    EXPECT_TRUE(second.send("port", "hello", kPatience));
    EXPECT_EQ(received(*port, 2).size(), 2U);
    EXPECT_FALSE(port->wait(std::chrono::milliseconds(1)));
    for (const char* text : {"a1", "a2", "a3"})
        EXPECT_TRUE(sender.send("port", text, kPatience));
    EXPECT_TRUE(second.send("port", "b4", kPatience));
    std::vector<std::string> texts;
    while (texts.size() < 4) {
        ASSERT_TRUE(port->wait(kPatience));
        port->receiveAwaited([&](char* text, std::size_t size) { texts.emplace_back(text, size); });
    }
    EXPECT_THAT(texts, ElementsAre("a1", "a2", "a3", "b4"));
}

TEST_F(LocalPortTest, FinishesASendersLargeTextsBeforeItBeginsAnothers)
{
    const auto port = held("port");
    LocalPortSender second;
    EXPECT_TRUE(sender.send("port", "hello", kPatience));
    EXPECT_TRUE(second.send("port", "hello", kPatience));
    EXPECT_EQ(received(*port, 2).size(), 2U);
    for (const char mark : {'1', '2', '3'})
        EXPECT_TRUE(sender.send("port", std::string(kMegabyte * 7 / 10, mark), kPatience));
    EXPECT_TRUE(second.send("port", "4", kPatience));
    std::string marks;
    for (int calls = 0; marks.size() < 4 && calls < 20; ++calls) {
        port->receive([&](char* text, std::size_t) { marks += *text; });
        EXPECT_EQ(port->hasMore(), marks.size() < 4) << marks;
    }
    EXPECT_EQ(marks, "1234");
}

// A sender that never pauses does not keep others out for ever.
TEST_F(LocalPortTest, GivesOthersTheirTurnInAFlood)
{
    const auto port = held("port");
    LocalPortSender second;
    EXPECT_TRUE(sender.send("port", "hello", kPatience));
    EXPECT_TRUE(second.send("port", "hello", kPatience));
    EXPECT_EQ(received(*port, 2).size(), 2U);
    const std::string large(kMegabyte, 'a');
    std::size_t flooded = 0;
    bool hasSecond = false;
    EXPECT_TRUE(sender.send("port", large, kPatience));
    EXPECT_TRUE(second.send("port", "b", kPatience));
    while (!hasSecond && flooded < 100) {
        // The next one is there before the last one was taken.
        EXPECT_TRUE(sender.send("port", large, kPatience));
        port->receive([&](char* text, std::size_t) {
            flooded += *text == 'a' ? 1 : 0;
            hasSecond |= *text == 'b';
        });
    }
    EXPECT_TRUE(hasSecond);
    EXPECT_LT(flooded, 24U);
}

TEST_F(LocalPortTest, TakesWhatASenderLeftBehind)
{
    const auto port = held("p");
    {
        LocalPortSender passing;
        ASSERT_TRUE(passing.send("p", "first", kPatience));
        ASSERT_TRUE(passing.send("p", std::string(5 * kMegabyte, 'x'), kPatience));
    }
    EXPECT_EQ(received(*port).size(), 2U);
}

TEST_F(LocalPortTest, GivesBytesThatMayBeChanged)
{
    const auto port = held("p");
    ASSERT_TRUE(sender.send("p", "short", kPatience));
    ASSERT_TRUE(sender.send("p", std::string(5 * kMegabyte, 'l'), kPatience));
    std::vector<std::size_t> sizes;
    port->receive([&](char* text, std::size_t size) {
        std::fill_n(text, size, 'c');
        sizes.push_back(size);
    });
    EXPECT_THAT(sizes, ElementsAre(5U, 5 * kMegabyte));
}

TEST_F(LocalPortTest, PassesOnWhatATakerThrowsAndGoesOnBehindIt)
{
    const auto port = held("p");
    for (const char* text : {"first", "bad", "last"})
        ASSERT_TRUE(sender.send("p", text, kPatience));
    Texts texts;
    const auto take = [&](char* text, std::size_t size) {
        if (std::string_view(text, size) == "bad")
            throw std::runtime_error("bad");
        texts.emplace_back(text, size);
    };
    EXPECT_THROW(port->receive(take), std::runtime_error);
    EXPECT_TRUE(test::isReadable(port->descriptor()));
    EXPECT_EQ(port->receive(take), 1U);
    EXPECT_THAT(texts, ElementsAre("first", "last"));
}

TEST_F(LocalPortTest, IsInheritedByNoOtherProgram)
{
    const auto before = openNumbers();
    const auto port = held("p");
    ASSERT_TRUE(sender.send("p", std::string(5 * kMegabyte, 'x'), kPatience));
    std::set<int> inherited = {-1};
    port->receive([&](char*, std::size_t) { inherited = inheritedSince(before); });
    EXPECT_GT(openNumbers().size(), before.size() + 3);
    EXPECT_THAT(inherited, IsEmpty());
}

TEST_F(LocalPortTest, IsListedWhileItIsHeld)
{
    EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
    const std::string strange("a\n\0b\n", 5);
    const auto third = held("z");
    const auto first = held(strange);
    const auto second = held("m");
    auto gone = held("gone");
    const std::string ports = folder.path("ports/");
    gone.reset();
    std::ofstream(ports + std::string(32, '0') + ".lock") << "77\nnobody\n";
    std::ofstream(ports + "other.txt") << "x";
    std::filesystem::create_directory(ports + std::string(32, '1') + ".lock");
    std::vector<std::string> names;
    for (const auto& port : Pt::heldLocalPorts()) {
        names.push_back(port.name);
        EXPECT_EQ(port.processId, ::getpid());
    }
    EXPECT_THAT(names, ElementsAre(strange, "m", "z"));
}

TEST_F(LocalPortTest, IsNotListedUnderANameThatItsLockFileDoesNotProve)
{
    const auto port = held("p");
    std::ofstream(lockPath()) << "77\nanother\n";
    EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
    std::ofstream(lockPath()) << "no number\np\n";
    EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
    std::ofstream(lockPath()) << "77";
    EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
    std::ofstream(lockPath()) << "77\np\n";
    EXPECT_EQ(Pt::heldLocalPorts().size(), 1U);
}

TEST_F(LocalPortTest, ListsNothingOfAFileThatIsLongerThanAnyName)
{
    const auto port = held("p");
    ASSERT_EQ(Pt::heldLocalPorts().size(), 1U);
    std::filesystem::resize_file(lockPath(), std::uintmax_t{1} << 40U); // a terabyte of nothing
    EXPECT_THAT(Pt::heldLocalPorts(), IsEmpty());
}

TEST_F(LocalPortTest, LiesInTheFolderThatTheEnvironmentTells)
{
    const std::string session = folder.path("session");
    std::filesystem::create_directory(session);
    environment.set("XDG_RUNTIME_DIR", session);
    EXPECT_EQ(Pt::localPortFolder(), folder.path("ports"));
    environment.set("TEVOROTALK_PORT_DIR", "/a/b///");
    EXPECT_EQ(Pt::localPortFolder(), "/a/b");
    environment.set("TEVOROTALK_PORT_DIR", "/a/b/./");
    EXPECT_EQ(Pt::localPortFolder(), "/a/b");
    environment.set("TEVOROTALK_PORT_DIR", "relative");
    EXPECT_EQ(Pt::localPortFolder(), (std::filesystem::current_path() / "relative").string());
    environment.set("TEVOROTALK_PORT_DIR", "");
    EXPECT_EQ(Pt::localPortFolder(), session + "/tevorotalk");
    environment.unset("TEVOROTALK_PORT_DIR");
    EXPECT_EQ(Pt::localPortFolder(), session + "/tevorotalk");
    environment.set("XDG_RUNTIME_DIR", "/missing");
    const std::string user = std::to_string(::geteuid());
    const std::string runtime = "/run/user/" + user;
    EXPECT_EQ(Pt::localPortFolder(),
        std::filesystem::is_directory(runtime) ? runtime + "/tevorotalk"
                                               : "/tmp/tevorotalk-" + user);
}
