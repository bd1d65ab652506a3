// Processes that were started with a home that takes no file, each with a salt of its own.
#include "core/messaging/support/BusProcessFixture.h"

#include <filesystem>

namespace {

using test::bytes;

class IdentityProcessTest : public test::BusProcessFixture {
protected:
    IdentityProcessTest() { environment.set("HOME", folder.path("later")); }
};

} // namespace

TEST_F(IdentityProcessTest, UnderstandEachOtherSoonAfterTheHomeCanBeWritten)
{
    start();
    const Peer other = peer("peer-1.0");
    const auto message = request("peer-1.0", "rejected");
    EXPECT_TRUE(send(*self, *message));
    std::filesystem::create_directory(folder.path("later"));
    // Whichever rejects first makes the file, and the other takes its salt with the answer.
    const auto begin = std::chrono::steady_clock::now();
    for (bool isThere = false; !isThere;) {
        ASSERT_LT(std::chrono::steady_clock::now() - begin, kPatience);
        const auto next = request("peer-1.0", "text", "Result Error");
        EXPECT_TRUE(send(*self, *next));
        isThere = other->saysSomething(std::chrono::milliseconds(100));
        pump();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    EXPECT_THAT(other->line(), testing::EndsWith(" self-1.0 text"));
    EXPECT_EQ(
        bytes(ScObjects::TevoroTalkData::getMD5ID()), test::read(folder.path("later/.velmo/md5")));
    // And back.
    other->tell("send self-1.0 - 0 back");
    EXPECT_TRUE(pumpUntil([&] { return inbox.size() > 0; }));
}
