#include "mfx/engine/saving/SpaceCheck.h"

#include "apps/mfx/engine/CardFixture.h"
#include "apps/mfx/texts/DictionaryFixture.h"

#include <gtest/gtest.h>

namespace mfx {
namespace {

class SpaceCheckTest : public testing::Test {
protected:
    std::uint64_t available() const { return std::filesystem::space(folder.path()).available; }
    // Others write on the same disk meanwhile: near the limit, but not to the byte.
    std::uint64_t twoThirds() const { return available() / 3 * 2; }

    tests::TestCard folder;
};

TEST_F(SpaceCheckTest, FindsNothingWhereAllFits)
{
    EXPECT_FALSE(findShortage(std::vector<SpaceNeed>{}));
    EXPECT_FALSE(findShortage({{folder.path(), 0}}));
    EXPECT_FALSE(findShortage({{folder.path(), twoThirds()}}));
}

TEST_F(SpaceCheckTest, TellsWhatIsNeededWhereItDoesNotFit)
{
    const std::uint64_t tooMuch = available() * 2 + 1;
    const auto shortage = findShortage({{folder.path(), tooMuch}});
    ASSERT_TRUE(shortage);
    EXPECT_EQ(shortage->folder, folder.path());
    EXPECT_EQ(shortage->needed, tooMuch);
    EXPECT_LT(shortage->available, tooMuch);
}

TEST_F(SpaceCheckTest, AddsUpWhatGoesToOneFileSystem)
{
    folder.addFolder("a");
    folder.addFolder("b");
    const auto shortage =
        findShortage({{folder.path("a"), twoThirds()}, {folder.path("b"), twoThirds()}});
    ASSERT_TRUE(shortage);
    EXPECT_EQ(shortage->folder, folder.path("a"));
}

TEST_F(SpaceCheckTest, LooksAboveAFolderThatIsNotThereYet)
{
    const auto shortage =
        findShortage({{folder.path("x/y/z"), twoThirds()}, {folder.path("b"), twoThirds()}});
    ASSERT_TRUE(shortage);
    EXPECT_EQ(shortage->folder, folder.path());
}

TEST_F(SpaceCheckTest, CountsALinkWhereItLeads)
{
    const std::string other = "/dev/shm"; // a file system of its own nearly everywhere
    std::error_code error;
    if (!std::filesystem::is_directory(other, error)) {
        GTEST_SKIP() << "there is no second file system";
    }
    std::filesystem::create_directory_symlink(other, folder.path("link"));
    const std::uint64_t room = std::filesystem::space(other).available;
    const auto shortage = findShortage({{folder.path("link"), room * 2 + 1}});
    ASSERT_TRUE(shortage);
    EXPECT_LE(shortage->available, std::filesystem::space(other).capacity);
    // Not on the file system that the link lies on.
    const auto both = findShortage({{folder.path("link"), room / 3 * 2}, {other, room / 3 * 2}});
    EXPECT_TRUE(both);
}

TEST_F(SpaceCheckTest, BelievesAFileSystemThatDoesNotTell)
{
    ASSERT_EQ(std::filesystem::space("/proc").capacity, 0U);
    EXPECT_FALSE(findShortage({{"/proc", 1}}));
}

TEST(SizeTextTest, RoundsToPowersOfAThousand)
{
    const std::pair<std::uint64_t, const char*> rows[] = {
        {0, "0 bytes"},
        {999, "999 bytes"},
        {1000, "1.0 kB"},
        {12'345'678, "12.3 MB"},
        {1'500'000'000, "1.5 GB"},
        {999'000'000'000'000, "999.0 TB"},
        {18'446'744'073'709'551'615U, "18446744.1 TB"},
    };
    for (const auto& [bytes, text] : rows)
        EXPECT_EQ(sizeText(bytes), text) << bytes;
}

using TranslatedSizeTest = DictionaryFixture;

TEST_F(TranslatedSizeTest, HasTheUnitsAndTheDecimalMarkOfTheLanguage)
{
    speak(u"\"$$$/Mfx/Size/Decimal=%1,%2\"\n\"$$$/Mfx/Size/Megabytes=%1 Mo\"\n"
          u"\"$$$/Mfx/Size/Bytes=%1 octets\"\n\"$$$/Mfx/Size/BytesOne=%1 octet\"\n");
    EXPECT_EQ(sizeText(12'345'678), "12,3 Mo");
    EXPECT_EQ(sizeText(0), "0 octets");
    EXPECT_EQ(sizeText(1), "1 octet");
}

} // namespace
} // namespace mfx
