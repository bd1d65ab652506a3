#include "mfx/engine/saving/OriginalDeletion.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "platform/common/files/FileCopy.h"
#include "support/disks/Mounts.h"

#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace mfx {
namespace {

using tests::namesBelow;
using tests::TestCard;

// One picture that was saved and backed up.
class OriginalDeletionTest : public testing::Test {
protected:
    OriginalDeletionTest()
    {
        card.add("DCIM/A.JPG", "picture");
        target.add("A.JPG", "picture");
        backup.add("A.JPG", "picture");
        contents = card.scan();
        places.emplace(contents, target.path(), backup.path(), false);
        deletion.emplace(contents, *places);
        std::error_code error;
        kept.digest = Pt::digestOfFile(card.path("DCIM/A.JPG"), error);
        kept.saved = copyAt(target.path("A.JPG"));
        kept.backup = copyAt(backup.path("A.JPG"));
    }

    static KeptCopy copyAt(const std::string& path)
    {
        std::error_code error;
        return {path, Pt::fileStatus(path, error).value()};
    }
    std::string remove() { return deletion->remove(0, kept); }
    bool isOnCard() const { return std::filesystem::exists(card.path("DCIM/A.JPG")); }

    TestCard card;
    TestCard target;
    TestCard backup;
    CardContents contents;
    std::optional<PlaceWatch> places;
    std::optional<OriginalDeletion> deletion;
    KeptItem kept;
};

TEST_F(OriginalDeletionTest, DeletesAnOriginalWithTwoProvenCopies)
{
    EXPECT_EQ(remove(), "");
    deletion.reset();
    EXPECT_THAT(namesBelow(card.path()), ElementsAre("DCIM"));
    EXPECT_FALSE(isOnCard());
}

TEST_F(OriginalDeletionTest, KeepsWhatHasAReasonToStay)
{
    kept.reasonToKeep = "so";
    EXPECT_EQ(remove(), "so");
    EXPECT_TRUE(isOnCard());
}

struct HarmCase {
    const char* name;
    void (*harm)(const std::string& path);
    bool isHarmless = false;
};

void PrintTo(const HarmCase& row, std::ostream* out)
{
    *out << row.name;
}

void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

const HarmCase kHarms[] = {
    {"Removed", [](const std::string& path) { std::filesystem::remove(path); }},
    {"Emptied", [](const std::string& path) { std::filesystem::resize_file(path, 0); }},
    {"Truncated", [](const std::string& path) { std::filesystem::resize_file(path, 3); }},
    {"Zeroed", [](const std::string& path) { writeBytes(path, std::string(7, '\0')); }},
    {"Folder",
        [](const std::string& path) {
            std::filesystem::remove(path);
            std::filesystem::create_directory(path);
        }},
    {"Link",
        [](const std::string& path) {
            std::filesystem::rename(path, path + ".moved");
            std::filesystem::create_symlink(path + ".moved", path);
        }},
    {"Touched",
        [](const std::string& path) { ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0); },
        true},
    {"WrittenAnewTheSame",
        [](const std::string& path) {
            std::filesystem::remove(path);
            writeBytes(path, "picture");
        },
        true},
};

class HarmedCopyTest : public OriginalDeletionTest, public testing::WithParamInterface<HarmCase> {
protected:
    void expectOutcome()
    {
        const std::string reason = remove();
        EXPECT_EQ(reason.empty(), GetParam().isHarmless) << reason;
        EXPECT_EQ(isOnCard(), !GetParam().isHarmless);
        EXPECT_FALSE(deletion->foundAlias());
    }
};

TEST_P(HarmedCopyTest, DecidesOverASavedCopy)
{
    GetParam().harm(target.path("A.JPG"));
    expectOutcome();
}

TEST_P(HarmedCopyTest, DecidesOverABackup)
{
    GetParam().harm(backup.path("A.JPG"));
    expectOutcome();
}

INSTANTIATE_TEST_SUITE_P(Harms, HarmedCopyTest, testing::ValuesIn(kHarms), [](const auto& row) {
    return std::string(row.param.name);
});

TEST_F(OriginalDeletionTest, KeepsAnOriginalWithoutTheBackupThatWasWanted)
{
    kept.backup.reset();
    EXPECT_NE(remove(), "");
    EXPECT_TRUE(isOnCard());
}

// As tools leave it that look for duplicates and link them.
TEST_F(OriginalDeletionTest, KeepsAnOriginalWhoseCopiesBecameOneFile)
{
    std::filesystem::remove(backup.path("A.JPG"));
    std::filesystem::create_hard_link(target.path("A.JPG"), backup.path("A.JPG"));
    EXPECT_THAT(remove(), HasSubstr("one file"));
    EXPECT_TRUE(isOnCard());
}

TEST_F(OriginalDeletionTest, KeepsAnOriginalThatIsNoLongerWhatWasCopied)
{
    card.add("DCIM/A.JPG", "Picture");
    EXPECT_THAT(remove(), HasSubstr("changed"));
    EXPECT_TRUE(isOnCard());
    std::filesystem::remove(card.path("DCIM/A.JPG"));
    EXPECT_THAT(remove(), HasSubstr("no longer there"));
}

TEST_F(OriginalDeletionTest, ReadsAnOriginalAnewWhoseTimesAloneChanged)
{
    ::utimensat(AT_FDCWD, card.path("DCIM/A.JPG").c_str(), nullptr, 0);
    EXPECT_EQ(remove(), "");
    EXPECT_FALSE(isOnCard());
}

TEST_F(OriginalDeletionTest, DeletesHardLinksOneByOne)
{
    std::filesystem::create_hard_link(card.path("DCIM/A.JPG"), card.path("DCIM/B.JPG"));
    contents = card.scan();
    KeptItem other = kept;
    EXPECT_EQ(deletion->remove(0, kept), "");
    EXPECT_EQ(deletion->remove(1, other), "");
    EXPECT_THAT(namesBelow(card.path("DCIM")), ElementsAre(".mfxdelete"));
}

// A DNG cannot be proven again when it changed; the raw file in the backup can.
TEST_F(OriginalDeletionTest, WantsAnUnchangedDNGOrABackup)
{
    target.add("A.dng", "converted");
    kept.dng = copyAt(target.path("A.dng"));
    std::filesystem::remove(target.path("A.JPG"));
    target.add("A.dng", "edited since");
    kept.backup.reset();
    places.emplace(contents, target.path(), std::nullopt, false);
    EXPECT_NE(remove(), "");
    EXPECT_TRUE(isOnCard());
    kept.dng = copyAt(target.path("A.dng"));
    EXPECT_EQ(remove(), "");
}

TEST_F(OriginalDeletionTest, DeletesWithABackupThoughTheDNGChanged)
{
    target.add("A.dng", "converted");
    kept.dng = copyAt(target.path("A.dng"));
    target.add("A.dng", "edited since");
    EXPECT_EQ(remove(), "");
}

TEST_F(OriginalDeletionTest, KeepsAnOriginalWhoseDNGIsGoneThoughItHasABackup)
{
    target.add("A.dng", "converted");
    kept.dng = copyAt(target.path("A.dng"));
    std::filesystem::remove(target.path("A.dng"));
    EXPECT_NE(remove(), "");
    EXPECT_TRUE(isOnCard());
}

TEST_F(OriginalDeletionTest, PutsAnOriginalBackThatTurnsOutToBeItsOwnCopy)
{
    kept.saved = copyAt(card.path("DCIM/A.JPG"));
    EXPECT_THAT(remove(), HasSubstr("the original itself"));
    EXPECT_TRUE(deletion->foundAlias());
    EXPECT_TRUE(isOnCard());
}

TEST_F(OriginalDeletionTest, PutsAnOriginalBackThatIsSeenThroughAHardLink)
{
    std::filesystem::create_hard_link(card.path("DCIM/A.JPG"), card.path("link"));
    contents = card.scan();
    kept.saved = copyAt(card.path("link"));
    EXPECT_THAT(remove(), HasSubstr("the original itself"));
    EXPECT_TRUE(isOnCard());
}

TEST_F(OriginalDeletionTest, PutsAnOriginalBackThatIsSeenThroughAnotherMount)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    for (const char* mode : {"mirror", "forgetful", "cached"}) {
        const test::OddMount view(mode, target.path("view"), {card.path("DCIM")});
        kept.saved = copyAt(target.path("view/A.JPG"));
        EXPECT_THAT(remove(), HasSubstr("the original itself")) << mode;
        EXPECT_TRUE(isOnCard()) << mode;
    }
}

TEST_F(OriginalDeletionTest, PutsAnOriginalBackThatIsSeenThroughAnOverlay)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    const test::MemoryMount disk(backup.path("disk"), 1 << 20);
    const test::OverlayMount view(
        target.path("view"), card.path("DCIM"), disk.at() / "upper", disk.at() / "work");
    kept.saved = copyAt(target.path("view/A.JPG"));
    EXPECT_THAT(remove(), HasSubstr("the original itself"));
    EXPECT_TRUE(isOnCard());
}

TEST_F(OriginalDeletionTest, SaysWhyTheCardLetsNothingGo)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting needs root";
    }
    const test::BindMount bound(card.path(), card.path());
    ASSERT_EQ(
        ::mount(nullptr, card.path().c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
        0);
    EXPECT_THAT(remove(), HasSubstr("Read-only file system"));
    EXPECT_TRUE(isOnCard());
}

// A full card has no room for the folder in which an original steps aside.
TEST_F(OriginalDeletionTest, DeletesFromAFullCardWhatWasCopiedInThisRun)
{
    if (!test::canMountImages()) {
        GTEST_SKIP() << "mounting an image needs root";
    }
    const test::LoopMount disk(card.path("full"), target.path("image"), 1 << 20);
    card.add("full/A.JPG", "picture");
    for (int i = 0; ::mkdir(card.path("full/" + std::to_string(i)).c_str(), 0700) == 0; ++i) { }
    contents = scanCard(card.path("full"));
    ASSERT_EQ(contents.items.front().name, "A.JPG");
    EXPECT_THAT(remove(), HasSubstr("No space left"));
    EXPECT_TRUE(std::filesystem::exists(card.path("full/A.JPG")));
    kept.isFresh = true;
    EXPECT_EQ(remove(), "");
    EXPECT_FALSE(std::filesystem::exists(card.path("full/A.JPG")));
}

} // namespace
} // namespace mfx
