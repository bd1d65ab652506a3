// Who is kept out, and what is dropped: folders, processes of other users, packets.

#include "core/platform/support/NoMoreDescriptors.h"
#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortFixture.h"
#include "core/platform/support/PortText.h"
#include "core/platform/support/RogueSender.h"
#include "platform/common/ports/LocalPort.h"
#include "support/OrdinaryUser.h"

#include <stdexcept>

#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using Pt::LocalPort;
using Pt::LocalPortSender;
using test::asPacket;
using test::kNobody;
using test::MemoryFile;
using test::NoMoreDescriptors;
using test::RogueSender;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class LocalPortTrustTest : public test::PortFixture {
protected:
    // What a process says that twice tries to hold a name, and whether it holds it.
    std::string saidOnHolding()
    {
        test::PeerProcess peer({PORT_PEER, "hold", test::hexOf("p")});
        isHeld = peer.line() == "held";
        EXPECT_EQ(peer.finish(), 0);
        return peer.errors();
    }

    std::string ports() const { return folder.path("ports"); }

    bool isHeld = false;
    LocalPortSender sender;
};

class LocalPortPacketTest : public LocalPortTrustTest {
protected:
    // Sends what must be dropped, and sees that all that came with it is closed and that the port
    // goes on.
    void expectDropped(std::string_view packet, const std::vector<int>& descriptors)
    {
        const auto before = test::openDescriptors();
        ASSERT_TRUE(rogue.send(packet, descriptors));
        EXPECT_THAT(received(*port), IsEmpty());
        EXPECT_EQ(test::openDescriptors(), before);
        ASSERT_TRUE(rogue.send("and a text"));
        EXPECT_THAT(received(*port), ElementsAre("and a text"));
    }

    void SetUp() override
    {
        ASSERT_TRUE(sender.send("p", "hello", kPatience));
        ASSERT_TRUE(rogue.send("hello"));
        ASSERT_EQ(received(*port).size(), 2U);
    }
    void TearDown() override
    {
        ASSERT_TRUE(sender.send("p", "served", kPatience));
        EXPECT_THAT(received(*port), ElementsAre("served"));
    }

    std::unique_ptr<LocalPort> port = held("p");
    RogueSender rogue{socketPath()};
};

} // namespace

TEST_F(LocalPortTrustTest, UsesItsOwnFolderSilently)
{
    EXPECT_THAT(saidOnHolding(), IsEmpty());
    EXPECT_TRUE(isHeld);
}

TEST_F(LocalPortTrustTest, RefusesAFolderThatIsALink)
{
    std::filesystem::create_directory(folder.path("real"));
    std::filesystem::permissions(folder.path("real"), std::filesystem::perms::owner_all);
    std::filesystem::create_directory_symlink(folder.path("real"), ports());
    EXPECT_THAT(saidOnHolding(), HasSubstr("it is a link"));
    EXPECT_FALSE(isHeld);
    environment.set("TEVOROTALK_PORT_DIR", ports() + "/");
    EXPECT_THAT(saidOnHolding(), HasSubstr("it is a link"));
    EXPECT_FALSE(isHeld);
}

TEST_F(LocalPortTrustTest, RefusesAFolderThatIsOpenToOthers)
{
    std::filesystem::create_directory(ports());
    for (const unsigned int mode : {0750U, 0705U, 0710U, 0777U}) {
        ASSERT_EQ(::chmod(ports().c_str(), mode), 0);
        EXPECT_THAT(saidOnHolding(), HasSubstr(ports()));
        EXPECT_FALSE(isHeld);
    }
    EXPECT_THAT(files(), IsEmpty());
    ASSERT_EQ(::chmod(ports().c_str(), 0700), 0);
    EXPECT_THAT(saidOnHolding(), IsEmpty());
    EXPECT_TRUE(isHeld);
}

TEST_F(LocalPortTrustTest, RefusesAFolderOfSomebodyElse)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    std::filesystem::create_directory(ports());
    std::filesystem::permissions(ports(), std::filesystem::perms::owner_all);
    ASSERT_EQ(::chown(ports().c_str(), kNobody, kNobody), 0);
    EXPECT_THAT(saidOnHolding(), HasSubstr("another user"));
    EXPECT_FALSE(isHeld);
}

TEST_F(LocalPortTrustTest, RefusesWhatIsNoFolder)
{
    folder.write("ports", "");
    EXPECT_THAT(saidOnHolding(), HasSubstr("no folder"));
    environment.set("TEVOROTALK_PORT_DIR", folder.path("missing/ports"));
    EXPECT_THAT(saidOnHolding(), HasSubstr(folder.path("missing/ports")));
    EXPECT_FALSE(isHeld);
}

TEST_F(LocalPortTrustTest, SaysARefusalOnceAProcess)
{
    std::filesystem::create_directory_symlink(folder.path(), ports());
    test::PeerProcess peer({PORT_PEER, "send", test::hexOf("p"), "0", "10", "10000"});
    for (int i = 0; i < 3; ++i) {
        peer.tell("send");
        EXPECT_EQ(peer.line(), "not");
    }
    EXPECT_EQ(peer.finish(), 0);
    const std::string said = peer.errors();
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    EXPECT_THAT(said, HasSubstr("TEVOROTALK_PORT_DIR"));
}

TEST_F(LocalPortTrustTest, DoesNotCallANameFreeThatNobodyCanHold)
{
    std::filesystem::create_directory_symlink(folder.path(), ports());
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_FALSE(LocalPort::hold("p"));
    std::error_code error;
    EXPECT_THAT(Pt::heldLocalPorts(error), IsEmpty());
    EXPECT_TRUE(error);
}

TEST_F(LocalPortTrustTest, ListsNothingOfAMissingFolderWithoutAnError)
{
    std::error_code error;
    EXPECT_THAT(Pt::heldLocalPorts(error), IsEmpty());
    EXPECT_FALSE(error);
}

// A process whose rights reach the folder, but which is another user's all the same.
TEST_F(LocalPortTrustTest, ClosesTheConnectionOfAnotherUserUnread)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    const auto port = held("p");
    const std::string path = socketPath();
    const pid_t child = ::fork();
    if (child == 0) {
        if (::seteuid(kNobody) != 0)
            ::_exit(2);
        ::setfsuid(0);
        RogueSender stranger(path);
        ::_exit(stranger.send("from a stranger") ? 0 : 3);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    const auto before = test::openDescriptors();
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_EQ(test::openDescriptors(), before);
    EXPECT_TRUE(sender.send("p", "from me", kPatience));
    EXPECT_THAT(received(*port), ElementsAre("from me"));
}

TEST_F(LocalPortTrustTest, SendsNothingToAPortOfAnotherUser)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    auto port = held("p");
    const std::string path = socketPath();
    port.reset();
    const int listener = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::seteuid(kNobody), 0); // whose the port is, is settled when it begins to listen
    const int listens = ::listen(listener, 10);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_EQ(listens, 0);
    EXPECT_FALSE(sender.send("p", "secret", kPatience));
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    const int connection = ::accept(listener, nullptr, nullptr);
    char byte = 0;
    EXPECT_EQ(::recv(connection, &byte, 1, MSG_DONTWAIT), 0); // closed, nothing said
    ::close(connection);
    ::close(listener);
}

TEST_F(LocalPortPacketTest, DropsDescriptorsOfNoMemoryFile)
{
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    const int file = ::open(folder.write("file", "12345678").c_str(), O_RDONLY | O_CLOEXEC);
    const int directory = ::open(folder.path().c_str(), O_RDONLY | O_CLOEXEC);
    for (const int descriptor : {nothing, file, directory}) {
        expectDropped(asPacket(8), {descriptor});
        ::close(descriptor);
    }
}

TEST_F(LocalPortPacketTest, DropsMemoryFilesThatCouldStillChange)
{
    for (const int missing : {F_SEAL_SHRINK, F_SEAL_GROW, F_SEAL_WRITE, F_SEAL_SEAL}) {
        const MemoryFile file(8, MemoryFile::kSeals & ~missing);
        ASSERT_TRUE(file.isMade);
        expectDropped(asPacket(8), {file.number()});
    }
    const MemoryFile unsealed(8, 0);
    expectDropped(asPacket(8), {unsealed.number()});
}

TEST_F(LocalPortPacketTest, TakesASealedMemoryFile)
{
    const MemoryFile file(8);
    ASSERT_TRUE(rogue.send(asPacket(8), {file.number()}));
    EXPECT_THAT(received(*port), ElementsAre(std::string(8, '\0')));
}

TEST_F(LocalPortPacketTest, DropsLengthsThatDoNotAgree)
{
    const MemoryFile file(8);
    for (const std::uint64_t length : {std::uint64_t{0},
             std::uint64_t{7},
             std::uint64_t{9},
             std::uint64_t{1} << 63U,
             ~std::uint64_t{0}})
        expectDropped(asPacket(length), {file.number()});
    const MemoryFile empty(0);
    expectDropped(asPacket(0), {empty.number()});
}

TEST_F(LocalPortPacketTest, DropsTextsAboveTheLimit)
{
    const MemoryFile file(LocalPort::kMaxText + 1);
    ASSERT_TRUE(file.isMade);
    expectDropped(asPacket(LocalPort::kMaxText + 1), {file.number()});
}

TEST_F(LocalPortPacketTest, DropsMemoryFilesOfHugePages)
{
    constexpr std::size_t kHugePage = 2 * 1024 * 1024;
    const MemoryFile file(kHugePage, MemoryFile::kSeals, MFD_HUGETLB);
    if (!file.isMade) {
        GTEST_SKIP() << "this system has no huge pages";
    }
    expectDropped(asPacket(kHugePage), {file.number()});
}

TEST_F(LocalPortPacketTest, DropsSeveralDescriptors)
{
    const MemoryFile file(8);
    for (const std::size_t count : {2U, 4U, 5U, 60U})
        expectDropped(asPacket(8), std::vector<int>(count, file.number()));
}

TEST_F(LocalPortPacketTest, DropsADescriptorWithoutALength)
{
    const MemoryFile file(8);
    for (const std::string& packet :
        {std::string("1234567"), std::string(1, '\0'), asPacket(8) + '\0', std::string(40000, 'x')})
        expectDropped(packet, {file.number()});
}

// Such a packet cannot be told from the end of its sender.
TEST_F(LocalPortPacketTest, TakesAPacketOfNoBytesForTheEndOfItsSender)
{
    const auto before = test::openDescriptors();
    const MemoryFile file(8);
    ASSERT_TRUE(rogue.send("", {file.number()}));
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_TRUE(rogue.isClosed());
    EXPECT_EQ(test::openDescriptors(), before); // one memory file more, one connection less
    RogueSender another(socketPath());
    ASSERT_TRUE(another.send(""));
    EXPECT_THAT(received(*port), IsEmpty());
    EXPECT_TRUE(another.isClosed());
}

TEST_F(LocalPortPacketTest, TakesTheLongestPacketThatTheSystemCarries)
{
    rogue.widen(64 * 1024 * 1024);
    std::size_t size = 64 * 1024 * 1024;
    const std::string text = test::numberedText(1, size);
    while (size > 1 && !rogue.send(std::string_view(text).substr(0, size)))
        size = size * 7 / 8;
    const Texts texts = received(*port);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0] == text.substr(0, size)) << size;
}

TEST_F(LocalPortPacketTest, ClosesWhatCameWithATextWhoseTakerThrows)
{
    const auto before = test::openDescriptors();
    ASSERT_TRUE(sender.send("p", std::string(5000000, 'x'), kPatience));
    const auto refuse = [](char*, std::size_t) { throw std::runtime_error("no"); };
    EXPECT_THROW(port->receive(refuse), std::runtime_error);
    EXPECT_EQ(test::openDescriptors(), before);
}

TEST_F(LocalPortTrustTest, DoesNotKeepItsWaiterBusyWhileDescriptorsAreShort)
{
    const auto port = held("p");
    RogueSender newcomer(socketPath());
    ASSERT_TRUE(newcomer.send("patient"));
    int woken = 0;
    {
        const NoMoreDescriptors shortage;
        const auto end = std::chrono::steady_clock::now() + milliseconds(350);
        for (; std::chrono::steady_clock::now() < end; ++woken) {
            test::isReadable(port->descriptor(), milliseconds(400));
            EXPECT_THAT(received(*port), IsEmpty());
        }
    }
    EXPECT_GE(woken, 2); // it tries again by itself
    EXPECT_LE(woken, 6);
    EXPECT_THAT(received(*port, 1), ElementsAre("patient"));
    EXPECT_FALSE(test::isReadable(port->descriptor(), milliseconds(150)));
}

TEST_F(LocalPortTrustTest, LetsNewcomersInWithTheNextCallAfterAShortage)
{
    const auto port = held("p");
    RogueSender newcomer(socketPath());
    ASSERT_TRUE(newcomer.send("patient"));
    {
        const NoMoreDescriptors shortage;
        EXPECT_THAT(received(*port), IsEmpty());
        EXPECT_FALSE(test::isReadable(port->descriptor()));
    }
    EXPECT_THAT(received(*port), ElementsAre("patient"));
}

TEST_F(LocalPortTrustTest, IsNotHeldWithoutDescriptors)
{
    held("p").reset();
    testing::internal::CaptureStderr();
    {
        const NoMoreDescriptors shortage;
        EXPECT_FALSE(LocalPort::hold("p"));
    }
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(), IsEmpty()); // nothing is wrong with the folder
    EXPECT_TRUE(LocalPort::hold("p"));
    EXPECT_THAT(files(), IsEmpty());
}

// A descriptor for the folder, and then one for the socket.
TEST_F(LocalPortTrustTest, DoesNotCallAHeldNameFreeWithoutDescriptors)
{
    const auto port = held("p");
    for (const rlim_t spare : {0U, 1U}) {
        bool isFree = true;
        std::error_code error;
        {
            const NoMoreDescriptors shortage(spare);
            isFree = Pt::isLocalPortFree("p");
            Pt::heldLocalPorts(error);
        }
        EXPECT_FALSE(isFree) << spare;
        EXPECT_EQ(error, std::errc::too_many_files_open) << spare;
    }
    const NoMoreDescriptors enough(2);
    EXPECT_FALSE(Pt::isLocalPortFree("p"));
    EXPECT_TRUE(Pt::isLocalPortFree("another"));
}

// Lost, as the system leaves no way to ask for it later; but its eight bytes are not taken for a
// text.
TEST_F(LocalPortPacketTest, DropsAMemoryFileForWhichThereIsNoDescriptor)
{
    ASSERT_TRUE(sender.send("p", std::string(5000000, 'x'), kPatience));
    {
        const NoMoreDescriptors shortage;
        EXPECT_THAT(received(*port), IsEmpty());
    }
    EXPECT_THAT(received(*port), IsEmpty());
}

TEST_F(LocalPortPacketTest, DropsAPacketOfWhichASecondDescriptorIsLost)
{
    const MemoryFile file(8);
    ASSERT_TRUE(rogue.send(asPacket(8), {file.number(), file.number()}));
    {
        const NoMoreDescriptors shortage(1);
        EXPECT_THAT(received(*port), IsEmpty());
    }
    EXPECT_THAT(received(*port), IsEmpty());
}
