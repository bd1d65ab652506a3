#include "platform/platforms/linux/ports/LocalPortFolder.h"

#include "core/platform/support/PeerProcess.h"
#include "core/platform/support/PortText.h"
#include "platform/common/ports/LocalPort.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

using Pt::LocalPort;
using Pt::LocalPortFolder;
using Pt::LocalPortSender;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr std::chrono::milliseconds kPatience{10000};

// A home and a runtime folder for each test, and the places that are made of them.
class LocalPortFolderTest : public testing::Test {
protected:
    LocalPortFolderTest()
    {
        environment.unset("TEVOROTALK_PORT_DIR");
        environment.set("HOME", home());
        environment.set("XDG_RUNTIME_DIR", folder.path("run"));
        fs::create_directory(home());
        fs::create_directory(folder.path("run"));
    }

    std::string home() const { return folder.path("home"); }
    std::string inRuntime() const { return folder.path("run/tevorotalk"); }
    std::string inHome() const { return folder.path("home/.velmo/ports"); }
    static std::string inTmp(unsigned int user = ::geteuid())
    {
        return "/tmp/tevorotalk-" + std::to_string(user);
    }

    // By a process that twice looks for one who holds a name.
    static std::string saidOnSending()
    {
        test::PeerProcess peer({PORT_PEER, "send", test::hexOf("p"), "0", "10", "0"});
        for (int i = 0; i < 2; ++i) {
            peer.tell("send");
            EXPECT_EQ(peer.line(), "not");
        }
        EXPECT_EQ(peer.finish(), 0);
        return peer.errors();
    }

    test::TestFolder folder;
    test::Environment environment;
};

// A user that nobody else is, with a home and without a runtime folder; somebody else has the place
// in /tmp.
class SquattedFolderTest : public LocalPortFolderTest {
protected:
    void SetUp() override
    {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can become another user";
        }
        environment.unset("XDG_RUNTIME_DIR");
        fs::create_directory(inTmp(user));
        for (const std::string& path : {folder.path(), home()})
            ASSERT_EQ(::chown(path.c_str(), user, user), 0);
    }
    void TearDown() override { fs::remove_all(inTmp(user)); }

    const unsigned int user = 100000 + static_cast<unsigned int>(::getpid());
};

bool isHeldIn(const std::string& path)
{
    return fs::is_directory(path) && std::distance(fs::directory_iterator(path), {}) == 2;
}

bool reaches(LocalPort& port)
{
    LocalPortSender sender;
    bool isThere = false;
    const bool isSent = sender.send("p", "text", kPatience);
    port.receive([&](const char*, std::size_t) { isThere = true; });
    return isSent && isThere;
}

} // namespace

TEST_F(LocalPortFolderTest, HasAnOrderOfPlaces)
{
    EXPECT_THAT(Pt::localPortPlaces(), ElementsAre(inRuntime(), inTmp(), inHome()));
    environment.set("TEVOROTALK_PORT_DIR", "/chosen");
    EXPECT_THAT(Pt::localPortPlaces(), ElementsAre("/chosen"));
}

TEST_F(LocalPortFolderTest, HasNoPlaceWithoutAHomeOfThisUser)
{
    for (const std::string& other :
        {std::string(), std::string("relative"), folder.path("missing")}) {
        environment.set("HOME", other);
        EXPECT_THAT(Pt::localPortPlaces(), ElementsAre(inRuntime(), inTmp())) << other;
    }
    environment.unset("HOME");
    EXPECT_THAT(Pt::localPortPlaces(), ElementsAre(inRuntime(), inTmp()));
}

// With sudo the environment may be that of another user.
TEST_F(LocalPortFolderTest, HasNoPlaceInFoldersOfSomebodyElse)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    for (const std::string& path : {home(), folder.path("run")})
        ASSERT_EQ(::chown(path.c_str(), test::kNobody, test::kNobody), 0);
    EXPECT_THAT(Pt::localPortPlaces(), Not(testing::Contains(HasSubstr(folder.path()))));
}

TEST_F(LocalPortFolderTest, MakesTheFolderInTheRuntimeFolderForItsUserAlone)
{
    const auto port = LocalPort::hold("p");
    ASSERT_TRUE(port);
    EXPECT_TRUE(isHeldIn(inRuntime()));
    EXPECT_EQ(fs::status(inRuntime()).permissions(), fs::perms{0700});
    EXPECT_FALSE(fs::exists(folder.path("home/.velmo")));
    EXPECT_EQ(Pt::localPortFolder(), inRuntime());
}

TEST_F(LocalPortFolderTest, MakesTheFolderInTheHomeForItsUserAlone)
{
    const mode_t mask = ::umask(0);
    std::error_code error;
    const auto made = LocalPortFolder::openOrMake(inHome(), error);
    ::umask(mask);
    ASSERT_TRUE(made) << error.message();
    EXPECT_EQ(fs::status(inHome()).permissions(), fs::perms{0700});
    EXPECT_EQ(fs::status(folder.path("home/.velmo")).permissions(), fs::perms{0771});
    EXPECT_TRUE(LocalPortFolder::openOrMake(inHome(), error));
}

TEST_F(LocalPortFolderTest, MakesNothingInAFolderOfSomebodyElse)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a folder away";
    }
    fs::create_directory(folder.path("home/.velmo"));
    ASSERT_EQ(::chown(folder.path("home/.velmo").c_str(), test::kNobody, test::kNobody), 0);
    std::error_code error;
    EXPECT_FALSE(LocalPortFolder::openOrMake(inHome(), error));
    EXPECT_TRUE(error);
    EXPECT_FALSE(fs::exists(inHome()));
}

TEST_F(LocalPortFolderTest, LooksIntoEachPlaceThatIsThere)
{
    std::error_code error;
    ASSERT_TRUE(LocalPortFolder::openOrMake(inHome(), error));
    const auto port = LocalPort::hold("p"); // in the first
    ASSERT_TRUE(port);
    EXPECT_TRUE(reaches(*port));
    // As one who cannot use the first has it.
    environment.set("TEVOROTALK_PORT_DIR", inHome());
    const auto further = LocalPort::hold("further");
    ASSERT_TRUE(further);
    environment.unset("TEVOROTALK_PORT_DIR");
    EXPECT_FALSE(Pt::isLocalPortFree("further"));
    EXPECT_FALSE(LocalPort::hold("further"));
    LocalPortSender sender;
    EXPECT_TRUE(sender.send("further", "text", kPatience));
    std::vector<std::string> names;
    for (const Pt::HeldPort& held : Pt::heldLocalPorts())
        names.push_back(held.name);
    EXPECT_THAT(names, testing::IsSupersetOf({"further", "p"}));
}

TEST_F(LocalPortFolderTest, SaysOnceWhichPlaceIsNotUsedAndWhichIsInstead)
{
    fs::create_directory_symlink(home(), inRuntime());
    const std::string said = saidOnSending();
    EXPECT_THAT(said, HasSubstr(inRuntime() + ", is not used: it is a link"));
    EXPECT_THAT(said, HasSubstr("ports lie in " + inTmp()));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
}

TEST_F(LocalPortFolderTest, SaysNothingOfPlacesThatAreNotNeeded)
{
    fs::create_directory(folder.path("home/.velmo"));
    fs::create_directory_symlink(home(), inHome());
    EXPECT_THAT(saidOnSending(), IsEmpty());
}

TEST_F(SquattedFolderTest, HoldsNamesInTheNextPlace)
{
    const int answer = test::askedAsUser(user, [&] {
        const auto port = LocalPort::hold("p");
        const bool isThere = port && isHeldIn(inHome()) && reaches(*port);
        const bool isAlone = !LocalPort::hold("p") && !Pt::isLocalPortFree("p");
        const auto listed = Pt::heldLocalPorts();
        return isThere && isAlone && listed.size() == 1 && Pt::localPortFolder() == inHome() ? 1
                                                                                             : 0;
    });
    EXPECT_EQ(answer, 1);
    EXPECT_TRUE(fs::is_empty(inTmp(user)));
}

// The second place is no better than the first.
TEST_F(SquattedFolderTest, NamesThePlaceThatIsUsedInTheEnd)
{
    const std::string program = folder.path("peer"); // where that user may run it
    fs::copy_file(PORT_PEER, program);
    const int answer = test::askedAsUser(user, [&] {
        environment.set("XDG_RUNTIME_DIR", home());
        fs::create_directory_symlink(home(), home() + "/tevorotalk");
        test::PeerProcess peer({program, "hold", test::hexOf("p")});
        const bool isHeld = peer.line() == "held";
        return peer.finish() == 0 && isHeld && peer.errors().ends_with("lie in " + inHome() + ".\n")
            ? 1
            : 0;
    });
    EXPECT_EQ(answer, 1);
}

TEST_F(SquattedFolderTest, TakesNoNameThatIsHeldInTheNextPlace)
{
    const int answer = test::askedAsUser(user, [&] {
        environment.set("TEVOROTALK_PORT_DIR", inHome());
        ::mkdir(folder.path("home/.velmo").c_str(), 0700);
        const auto port = LocalPort::hold("p");
        environment.set("TEVOROTALK_PORT_DIR", "");
        environment.set("XDG_RUNTIME_DIR", home()); // a place before it that can be used
        return port && !LocalPort::hold("p") && LocalPort::hold("q") && reaches(*port) ? 1 : 0;
    });
    EXPECT_EQ(answer, 1);
}

TEST_F(SquattedFolderTest, UsesNoPlaceWhereTheHomeIsOpenedToOthers)
{
    const int answer = test::askedAsUser(user, [&] {
        fs::create_directories(inHome());
        ::chmod(inHome().c_str(), 0750);
        std::error_code error;
        Pt::heldLocalPorts(error);
        return !LocalPort::hold("p") && !Pt::isLocalPortFree("p") && error ? 1 : 0;
    });
    EXPECT_EQ(answer, 1);
}

TEST_F(SquattedFolderTest, IsNotTakenForAnotherPlaceThatWasChosen)
{
    environment.set("TEVOROTALK_PORT_DIR", inTmp(user));
    const int answer = test::askedAsUser(user, [&] { return LocalPort::hold("p") ? 0 : 1; });
    EXPECT_EQ(answer, 1);
    EXPECT_FALSE(fs::exists(inHome()));
}
