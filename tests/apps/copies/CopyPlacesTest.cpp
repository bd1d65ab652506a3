#include "copies/CopyPlaces.h"

#include "support/Environment.h"
#include "support/TestFolder.h"

#include <gmock/gmock.h>

namespace copies {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CopyPlacesTest : public testing::Test {
protected:
    CopyPlacesTest() { m_environment.set("XDG_STATE_HOME", m_folder.path("state")); }
    void note(const std::string& pictures, const std::string& backup)
    {
        EXPECT_FALSE(notePlaces({m_folder.path(pictures), m_folder.path(backup)}));
    }

    test::TestFolder m_folder;
    test::Environment m_environment;
};

TEST_F(CopyPlacesTest, AreNotedTheLatestFirst)
{
    EXPECT_THAT(notedPlaces(), IsEmpty());
    EXPECT_FALSE(notePlaces({"/p", "/b"}));
    EXPECT_FALSE(notePlaces({"/q", "/b"}));
    EXPECT_FALSE(notePlaces({"/p", "/b"}));
    EXPECT_THAT(notedPlaces(), ElementsAre(CopyPlaces{"/p", "/b"}, CopyPlaces{"/q", "/b"}));
}

TEST_F(CopyPlacesTest, AreForgottenWhenThereAreMany)
{
    for (std::size_t i = 0; i < kMaxPlaces + 5; ++i)
        EXPECT_FALSE(notePlaces({"/p" + std::to_string(i), "/b"}));
    EXPECT_EQ(notedPlaces().size(), kMaxPlaces);
    EXPECT_EQ(notedPlaces().front().pictures, "/p54");
}

TEST_F(CopyPlacesTest, AreNoneWhereTheNotesAreRubbish)
{
    for (const char* const text : {"",
             "{",
             "[1, \"a\", {}, {\"pictures\": 1, \"backup\": \"/b\"}]",
             "{\"pictures\":\"/p\",\"backup\":\"/b\"}",
             "[{\"pictures\":\"relative\",\"backup\":\"/b\"}]",
             "[[[[",
             "\xFF\xFE"}) {
        m_folder.write("state/mfx/copy-places.json", text);
        EXPECT_THAT(notedPlaces(), IsEmpty()) << text;
    }
    EXPECT_FALSE(notePlaces({"/p", "/b"}));
    EXPECT_EQ(notedPlaces().size(), 1U);
}

TEST_F(CopyPlacesTest, LeaveOutPathsThatAreNoText)
{
    EXPECT_TRUE(notePlaces({"/p\xFF", "/b"}));
    EXPECT_THAT(notedPlaces(), IsEmpty());
}

TEST_F(CopyPlacesTest, LeadToTheSecondCopyOfAPicture)
{
    const std::string picture = m_folder.write("pictures/2021/a.jpg", "the same bytes");
    const std::string copy = m_folder.write("backup/a.jpg", "the same bytes");
    EXPECT_EQ(secondCopyOf(picture), std::nullopt) << "nothing is noted";
    note("pictures", "backup");
    EXPECT_EQ(secondCopyOf(picture), copy);
    EXPECT_EQ(secondCopyOf(m_folder.path("pictures/2021/b.jpg")), std::nullopt);
}

TEST_F(CopyPlacesTest, LeadToNoFileWithOtherBytes)
{
    const std::string picture = m_folder.write("pictures/a.jpg", "the same bytes");
    note("pictures", "backup");
    m_folder.write("backup/a.jpg", "other bytes...");
    EXPECT_EQ(secondCopyOf(picture), std::nullopt) << "of the same length";
    m_folder.write("backup/a.jpg", "shorter");
    EXPECT_EQ(secondCopyOf(picture), std::nullopt);
}

TEST_F(CopyPlacesTest, CountTwoNamesOfOneFileAsOneCopy)
{
    const std::string picture = m_folder.write("pictures/a.jpg", "bytes");
    std::filesystem::create_directory(m_folder.path("backup"));
    std::filesystem::create_hard_link(picture, m_folder.path("backup/a.jpg"));
    note("pictures", "backup");
    EXPECT_EQ(secondCopyOf(picture), std::nullopt);
}

TEST_F(CopyPlacesTest, HoldForTheirFolderAlone)
{
    const std::string picture = m_folder.write("pictures2/a.jpg", "bytes");
    m_folder.write("backup/a.jpg", "bytes");
    note("pictures", "backup");
    EXPECT_EQ(secondCopyOf(picture), std::nullopt);
}

} // namespace

} // namespace copies
