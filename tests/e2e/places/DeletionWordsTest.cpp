// What the deletion asks and tells.

#include "e2e/support/MountFixture.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace e2e {

class DeletionWordsTest : public PlaceTest {
protected:
    void arrange() override
    {
        addPicture("A.JPG", std::string(600'000, 'a'));
        addPicture("B.JPG", std::string(600'000, 'b'));
    }

    std::string questionOf(std::vector<std::string> more = {})
    {
        more.push_back("--delete-originals");
        LiveRun run(wordsFor(card(), target(), std::move(more)), live(true));
        EXPECT_TRUE(run.waitForQuestion());
        run.type("n\n");
        const RunResult result = run.finish();
        EXPECT_EQ(result.code, 0) << told(result);
        EXPECT_EQ(filesIn(card()).size(), 2U);
        EXPECT_EQ(result.summary()["deleted"], 0);
        return result.err;
    }
    static void expectHas(const std::string& text, const std::string& words)
    {
        EXPECT_NE(text.find(words), std::string::npos) << words << " in: " << text;
    }
};

TEST_F(DeletionWordsTest, AsksWithFilesBytesCardAndCopies)
{
    std::string question = questionOf();
    for (const std::string& words :
        {std::string("2 files"), std::string("1.2 MB"), std::string("card"), target().string()})
        expectHas(question, words);
    question = questionOf({"--backup", backup()});
    expectHas(question, "two");
    expectHas(question, target());
    expectHas(question, backup());
    expectHas(question, "one disk");
}

TEST_F(DeletionWordsTest, TellsTheSystemsReasonForAnOriginalThatMustStay)
{
    const test::LoopMount disk1(disk("card"), root() / "image", 16 << 20);
    for (const char* name : {"A.JPG", "B.JPG"})
        write(disk1.at() / "DCIM" / name, name);
    const int locked = ::open((disk1.at() / "DCIM/A.JPG").c_str(), O_RDONLY | O_CLOEXEC);
    int flags = FS_IMMUTABLE_FL;
    if (::ioctl(locked, FS_IOC_SETFLAGS, &flags) != 0) {
        GTEST_SKIP() << "this system locks no files";
    }
    ::close(locked);
    const RunResult result = saveFrom(disk1.at(), target(), {"--delete-originals", "--yes"});
    EXPECT_EQ(result.code, 1) << told(result);
    EXPECT_TRUE(fs::exists(disk1.at() / "DCIM/A.JPG"));
    EXPECT_FALSE(fs::exists(disk1.at() / "DCIM/B.JPG"));
    expectHas(result.summary()["not_safe"].dump(), "A.JPG");
    expectHas(result.summary()["not_safe"].dump(), "Operation not permitted");
    EXPECT_EQ(result.summary()["deleted"], 1);
    EXPECT_FALSE(fs::exists(disk1.at() / "DCIM/.mfxdelete"));
}

TEST_F(DeletionWordsTest, TellsTheSystemsReasonForACardThatTakesNoWrites)
{
    const test::MemoryMount disk1(disk("card"), 8 << 20);
    for (const char* name : {"A.JPG", "B.JPG"})
        write(disk1.at() / "DCIM" / name, name);
    LiveRun run(wordsFor(disk1.at(), target(), {"--delete-originals"}), live(true));
    ASSERT_TRUE(run.waitForQuestion());
    ASSERT_EQ(::mount(nullptr, disk1.at().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    run.type("y\n");
    const RunResult result = run.finish();
    EXPECT_EQ(result.code, 1) << told(result);
    EXPECT_EQ(filesIn(disk1.at()).size(), 2U);
    expectHas(result.summary()["not_safe"].dump(), "Read-only file system");
    EXPECT_EQ(result.summary()["not_deleted"], 2);
}

TEST_F(DeletionWordsTest, EndsInPartWhereNobodyCanBeAsked)
{
    const RunResult result = saveTo(target(), {"--delete-originals"});
    EXPECT_EQ(result.code, 1);
    expectHas(result.err, "nobody to ask");
    expectCardKept({}); // wiping is allowed: all is saved
    EXPECT_EQ(result.summary()["deleted"], 0);
    EXPECT_EQ(filesIn(card()).size(), 2U);
    expectPromiseKept(result);
}

TEST_F(DeletionWordsTest, TellsOnceThatNothingConverts)
{
    addPicture("R.CR2", "raw r");
    addPicture("S.CR2", "raw s");
    makeOwnTree();
    const RunResult result = saveTo(target(), {"--dng"});
    EXPECT_EQ(result.code, 1) << told(result);
    const auto messages = result.events("message");
    const auto count = std::count_if(messages.begin(), messages.end(), [](const Json& message) {
        return message.dump().find("not installed") != std::string::npos;
    });
    EXPECT_EQ(count, 1) << told(result);
    ASSERT_GE(result.events().size(), 2U);
    expectHas(result.events()[1].dump(), "not installed");
    EXPECT_EQ(result.summary()["proven"], 4);
    EXPECT_EQ(result.summary()["card_may_be_wiped"], true) << told(result);
    expectPromiseKept(result);
}

TEST_F(DeletionWordsTest, TellsOnceThatNothingConvertsAsTextToo)
{
    addPicture("R.CR2", "raw r");
    addPicture("S.CR2", "raw s");
    makeOwnTree();
    const RunResult result = mfx({"download", card(), "--to", target(), "--dng"});
    std::size_t count = 0;
    const std::string all = result.out + result.err;
    for (std::size_t at = 0; (at = all.find("not installed", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 1U) << all;
    expectHas(result.out, "the card may be wiped");
}

} // namespace e2e
