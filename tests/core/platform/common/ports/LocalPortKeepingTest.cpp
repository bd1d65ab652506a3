// Files that are removed under a living holder: whatever clears old files away does not know that
// they are in use.

#include "core/platform/support/NoMoreDescriptors.h"
#include "core/platform/support/PortFixture.h"
#include "core/platform/support/RogueSender.h"
#include "platform/common/ports/LocalPort.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Pt::LocalPort;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LocalPortKeepingTest : public test::PortFixture {
protected:
    // Reached by a sender that is new to it, and alone under its name.
    void expectHeld(LocalPort& holder)
    {
        LocalPortSender newcomer;
        EXPECT_EQ(files().size(), 2U);
        EXPECT_TRUE(newcomer.send("p", "from a newcomer", kPatience));
        EXPECT_THAT(received(holder), ElementsAre("from a newcomer"));
        EXPECT_FALSE(LocalPort::hold("p"));
        EXPECT_EQ(files().size(), 2U);
    }
    void removeFiles() const
    {
        std::filesystem::remove(lockPath());
        std::filesystem::remove(socketPath());
    }
    void removeFolder() const { std::filesystem::remove_all(folder.path("ports")); }

    std::unique_ptr<LocalPort> port = held("p");
    LocalPortSender sender;
};

ino_t inodeOf(const std::string& path)
{
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

TEST_F(LocalPortKeepingTest, LeavesFilesAloneThatAreThere)
{
    const ino_t lock = inodeOf(lockPath());
    const ino_t socket = inodeOf(socketPath());
    const auto before = test::openDescriptors();
    EXPECT_TRUE(port->keepName());
    EXPECT_EQ(inodeOf(lockPath()), lock);
    EXPECT_EQ(inodeOf(socketPath()), socket);
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(LocalPortKeepingTest, IsNotTakenByAnotherWhenOnlyItsLockFileIsGone)
{
    std::filesystem::remove(lockPath());
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(LocalPort::hold("p"));
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("text"));
    EXPECT_EQ(files().size(), 1U); // whoever tried leaves nothing
}

TEST_F(LocalPortKeepingTest, TakesALockFileAgainAndKeepsItsSocket)
{
    std::filesystem::remove(lockPath());
    const ino_t socket = inodeOf(socketPath());
    EXPECT_TRUE(port->keepName());
    EXPECT_EQ(inodeOf(socketPath()), socket);
    EXPECT_EQ(Pt::heldLocalPorts().size(), 1U);
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, PutsASocketBack)
{
    std::filesystem::remove(socketPath());
    EXPECT_FALSE(sender.send("p", "text", kPatience));
    EXPECT_TRUE(port->keepName());
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, PutsItsFilesBackAsOftenAsTheyGo)
{
    for (int i = 0; i < 3; ++i) {
        removeFiles();
        EXPECT_TRUE(port->keepName());
        expectHeld(*port);
    }
    port.reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(LocalPortKeepingTest, PutsItsFolderBack)
{
    removeFolder();
    EXPECT_TRUE(port->keepName());
    EXPECT_EQ(
        std::filesystem::status(folder.path("ports")).permissions(), std::filesystem::perms{0700});
    expectHeld(*port);
    port.reset();
    EXPECT_THAT(files(), IsEmpty());
}

TEST_F(LocalPortKeepingTest, MovesToAFolderThatSomebodyElseMadeMeanwhile)
{
    removeFolder();
    held("another").reset();
    EXPECT_TRUE(port->keepName());
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, StaysInItsFolderWhateverTheEnvironmentSays)
{
    removeFolder();
    environment.set("TEVOROTALK_PORT_DIR", folder.path("others"));
    EXPECT_TRUE(port->keepName());
    environment.set("TEVOROTALK_PORT_DIR", folder.path("ports"));
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, LosesNoTextThatWasAccepted)
{
    ASSERT_TRUE(sender.send("p", "first", kPatience));
    ASSERT_THAT(received(*port), ElementsAre("first"));
    ASSERT_TRUE(sender.send("p", "unread", kPatience));
    LocalPortSender waiting; // at the old socket, and not let in yet
    ASSERT_TRUE(waiting.send("p", "from one who waits", kPatience));
    removeFolder();
    ASSERT_TRUE(port->keepName());
    LocalPortSender newcomer;
    EXPECT_TRUE(newcomer.send("p", "from a newcomer", kPatience));
    EXPECT_TRUE(sender.send("p", "over the old connection", kPatience));
    EXPECT_TRUE(waiting.send("p", "and again", kPatience));
    EXPECT_THAT(received(*port, 5),
        UnorderedElementsAre("unread",
            "over the old connection",
            "from one who waits",
            "and again",
            "from a newcomer"));
}

TEST_F(LocalPortKeepingTest, WakesWhoeverWaitsOnIt)
{
    EXPECT_FALSE(port->wait(milliseconds(0)));
    LocalPortSender waiting;
    ASSERT_TRUE(waiting.send("p", "text", kPatience));
    removeFiles();
    ASSERT_TRUE(port->keepName());
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_TRUE(test::isReadable(port->descriptor()));
    EXPECT_THAT(received(*port), ElementsAre("text"));
    EXPECT_FALSE(test::isReadable(port->descriptor()));
    EXPECT_TRUE(sender.send("p", "to the new socket", kPatience));
    EXPECT_TRUE(port->wait(kPatience));
    EXPECT_THAT(received(*port), ElementsAre("to the new socket"));
}

TEST_F(LocalPortKeepingTest, LeavesTheNameToAnotherThatTookIt)
{
    removeFolder();
    auto other = held("p");
    EXPECT_FALSE(port->keepName());
    expectHeld(*other);
    other.reset();
    EXPECT_TRUE(port->keepName());
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, LeavesASocketToAnotherThatLivesThere)
{
    removeFiles();
    auto other = held("p");
    std::filesystem::remove(lockPath());
    EXPECT_FALSE(port->keepName());
    EXPECT_TRUE(sender.send("p", "text", kPatience));
    EXPECT_THAT(received(*other), ElementsAre("text"));
    EXPECT_TRUE(other->keepName());
    expectHeld(*other);
}

TEST_F(LocalPortKeepingTest, TriesAgainAfterAShortageOfDescriptors)
{
    LocalPortSender waiting;
    ASSERT_TRUE(waiting.send("p", "text", kPatience));
    removeFolder();
    for (const rlim_t spare : {0U, 1U, 2U}) {
        const test::NoMoreDescriptors shortage(spare);
        EXPECT_FALSE(port->keepName()) << spare;
    }
    EXPECT_TRUE(port->keepName());
    EXPECT_THAT(received(*port), ElementsAre("text"));
    expectHeld(*port);
}

TEST_F(LocalPortKeepingTest, FreesItsNameWhenItGivesItUpAndNoSooner)
{
    ASSERT_TRUE(sender.send("p", "over a connection", kPatience));
    port->giveUpName();
    EXPECT_THAT(files(), IsEmpty());
    EXPECT_TRUE(Pt::isLocalPortFree("p"));
    EXPECT_FALSE(port->keepName());
    EXPECT_THAT(received(*port), ElementsAre("over a connection"));
    const auto next = held("p");
    port->giveUpName();
    port.reset();
    expectHeld(*next);
}

TEST_F(LocalPortKeepingTest, IsNotTheNameOfAForkedChild)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isKept = port->keepName();
        port->giveUpName();
        port.reset();
        ::_exit(isKept ? 1 : 0);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    expectHeld(*port);
}

// Nobody lets newcomers in, and no more can wait: it lives all the same.
TEST_F(LocalPortKeepingTest, IsNotTakenFromAHolderWhoseQueueOfNewcomersIsFull)
{
    const std::string path = socketPath();
    port.reset();
    const int listener = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 0), 0);
    {
        const test::RogueSender newcomer(path);
        EXPECT_FALSE(LocalPort::hold("p"));
    }
    ::close(listener);
    EXPECT_TRUE(LocalPort::hold("p")); // nobody's by now
}
