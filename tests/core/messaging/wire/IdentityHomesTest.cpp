// Homes that take no file, and what becomes of a salt when they do.

#include "core/messaging/support/MessagingFixture.h"
#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/Identity.h"
#include "support/OrdinaryUser.h"
#include "support/disks/Mounts.h"

#include <filesystem>
#include <functional>
#include <string>

namespace fs = std::filesystem;

namespace {

using namespace ScObjects;
using namespace ScObjects::TevoroTalkData;
using test::bytes;

class IdentityHomesTest : public test::MessagingFixture {
protected:
    // The home is missing: it takes nothing, whoever asks.
    IdentityHomesTest() { environment.set("HOME", home()); }

    std::string home() const { return folder.path("later"); }
    std::string saltFile() const { return home() + "/.velmo/md5"; }
    void writeFile(const std::string& salt) const { folder.write("later/.velmo/md5", salt); }

    // As long as digests do not match.
    static bool lookUntil(const std::function<bool()>& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > limit)
                return false;
            TevoroTalkUtils::sleep(10);
        }
        return true;
    }

    static std::string fill(const std::string& path)
    {
        std::ofstream file(path, std::ios::binary);
        while (file << std::string(256, 'x') << std::flush) { }
        return path;
    }
};

} // namespace

TEST_F(IdentityHomesTest, SayOnceThatTheyCannotBeWritten)
{
    testing::internal::CaptureStderr();
    const std::string salt = bytes(getMD5ID());
    EXPECT_EQ(bytes(getMD5ID()), salt);
    EXPECT_TRUE(isSaltOwn());
    EXPECT_FALSE(lookForSaltAgain());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::StartsWith(saltFile() + " cannot be written: No such file"));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
}

TEST_F(IdentityHomesTest, SayNothingThatTakeTheirFileOrHaveIt)
{
    testing::internal::CaptureStderr();
    fs::create_directory(home());
    getMD5ID();
    EXPECT_FALSE(isSaltOwn());
    forgetIdentity();
    getMD5ID();
    EXPECT_FALSE(isSaltOwn());
    forgetIdentity();
    environment.unset("HOME");
    getMD5ID();
    EXPECT_FALSE(isSaltOwn());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(IdentityHomesTest, GiveTheirSaltOnceItIsThere)
{
    const std::string own = bytes(getMD5ID());
    writeFile("of another");
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain(); }));
    EXPECT_EQ(bytes(getMD5ID()), "of another");
    EXPECT_FALSE(isSaltOwn());
    // From now on it stays.
    writeFile("third");
    TevoroTalkUtils::sleep(1100);
    EXPECT_FALSE(lookForSaltAgain());
    EXPECT_EQ(bytes(getMD5ID()), "of another");
}

TEST_F(IdentityHomesTest, GiveALongSaltTooOnceItIsThere)
{
    getMD5ID();
    const std::string salt(41, 's');
    writeFile(salt);
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain(); }));
    EXPECT_EQ(bytes(getMD5ID()), salt);
}

TEST_F(IdentityHomesTest, TakeTheOwnSaltOnceTheyCan)
{
    const std::string own = bytes(getMD5ID());
    fs::create_directory(home());
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain() || !isSaltOwn(); }));
    EXPECT_EQ(bytes(getMD5ID()), own);
    EXPECT_EQ(test::read(saltFile()), own);
}

TEST_F(IdentityHomesTest, KeepTheOwnSaltWhileTheirFileIsEmpty)
{
    const std::string own = bytes(getMD5ID());
    writeFile("");
    TevoroTalkUtils::sleep(1100);
    EXPECT_FALSE(lookForSaltAgain());
    EXPECT_EQ(bytes(getMD5ID()), own);
    EXPECT_TRUE(isSaltOwn());
    writeFile("at last");
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain(); }));
}

TEST_F(IdentityHomesTest, AreLookedAtOnceASecondAtMost)
{
    getMD5ID();
    const auto begin = std::chrono::steady_clock::now();
    writeFile("of another");
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900));
}

TEST_F(IdentityHomesTest, AreLookedAtWhenADigestDoesNotMatch)
{
    const std::string rest = "@QK>Version:2.05\nTarget:t\nSender:s\nContent-Length:4\n\nbody";
    const std::string text = "@QK>MD5:" + bytes(getDigest(rest, "of another")) + "\n" + rest;
    const auto isRejected = [&] {
        TevoroTalk::Message message;
        message.readFromString(text.data(), text.data() + text.size());
        return message.isRejected();
    };
    EXPECT_TRUE(isRejected());
    writeFile("of another");
    EXPECT_TRUE(lookUntil([&] { return !isRejected(); }));
}

TEST_F(IdentityHomesTest, KeepTheSaltOfTheProcessWhereTheyAreReadOnly)
{
    fs::create_directory(home());
    fs::permissions(folder.path(), fs::perms{0755});
    fs::permissions(home(), fs::perms{0555});
    const int answer = test::askedAsOrdinaryUser([] {
        const std::string salt = bytes(getMD5ID());
        TevoroTalkUtils::sleep(1100);
        return isSaltOwn() && !lookForSaltAgain() && bytes(getMD5ID()) == salt ? 1 : 0;
    });
    fs::permissions(home(), fs::perms{0700});
    EXPECT_EQ(answer, 1);
    EXPECT_TRUE(fs::is_empty(home()));
}

// Not even an empty file, which the next process would take for one.
TEST_F(IdentityHomesTest, HaveNoTornFileWhereTheyAreFull)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "only root can mount a small disk";
    }
    const test::MemoryMount disk(home(), 16384);
    fs::create_directory(home() + "/.velmo");
    const std::string ballast = fill(home() + "/ballast");
    const std::string own = bytes(getMD5ID());
    EXPECT_TRUE(isSaltOwn());
    EXPECT_TRUE(fs::is_empty(home() + "/.velmo"));
    fs::remove(ballast);
    EXPECT_TRUE(lookUntil([] { return lookForSaltAgain() || !isSaltOwn(); }));
    EXPECT_EQ(test::read(saltFile()), own);
}
