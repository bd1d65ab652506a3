// What becomes of the file: merging, damage, and things that stand where the file should.

#include "modules/preference_xml_parser/StoreClient.h"

#include <chrono>
#include <future>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tests;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kLater[] = "<preferences version=\"2.0\"><all new=\"yes\"/></preferences>";

class PreferenceDomainTest : public testing::Test {
protected:
    void SetUp() override { m_descriptors = test::openDescriptors(); }
    void TearDown() override { EXPECT_EQ(test::openDescriptors(), m_descriptors); }

    void saved(std::u16string_view key, std::u16string_view text)
    {
        StoreClient other(m_folder.path());
        other.load();
        other.set(key, text);
        ASSERT_TRUE(other.save());
    }

    // A file that is not ours to replace: not loaded, not saved over, nothing left beside it.
    void expectUntouchable()
    {
        auto before = namesIn(m_folder.path());
        before.insert("preferences-3.lock");
        EXPECT_FALSE(m_store.load());
        m_store.set(u"key", u"1");
        EXPECT_FALSE(m_store.save());
        EXPECT_EQ(namesIn(m_folder.path()), before);
        EXPECT_EQ(m_store.text(u"key"), u"1"); // can be saved when the obstacle is gone
    }

    StoreFolder m_folder;
    StoreClient m_store{m_folder.path()};

private:
    std::ptrdiff_t m_descriptors = 0;
};

} // namespace

TEST_F(PreferenceDomainTest, SavesOnlyItsOwnChangesOverThoseOfOthers)
{
    saved(u"Location", u"old");
    saved(u"Grid", u"1");
    ASSERT_TRUE(m_store.load());
    saved(u"Grid", u"2");
    // Like the plug-in: all keys are set, most of them to what they were.
    m_store.set(u"Location", u"new");
    m_store.set(u"Grid", u"1");
    ASSERT_TRUE(m_store.save());
    StoreClient next(m_folder.path());
    ASSERT_TRUE(next.load());
    EXPECT_EQ(next.text(u"Location"), u"new");
    EXPECT_EQ(next.text(u"Grid"), u"2");
    EXPECT_EQ(m_store.text(u"Grid"), u"2"); // saving brings the others' changes in
}

TEST_F(PreferenceDomainTest, AChangeThatWasTakenBackIsNone)
{
    saved(u"Grid", u"1");
    ASSERT_TRUE(m_store.load());
    m_store.set(u"Grid", u"5");
    m_store.set(u"Grid", u"6");
    EXPECT_EQ(m_store.text(u"Grid"), u"6");
    m_store.set(u"Grid", u"1");
    EXPECT_EQ(m_store.text(u"Grid"), u"1");
    saved(u"Grid", u"2");
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.text(u"Grid"), u"2");
}

TEST_F(PreferenceDomainTest, ADomainThatWasNeverLoadedSavesOverWhatStands)
{
    saved(u"Other", u"kept");
    m_store.set(u"Mine", u"1");
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(m_store.text(u"Other"), u"kept");
    EXPECT_EQ(m_store.text(u"Mine"), u"1");
}

TEST_F(PreferenceDomainTest, WritesAllItKnowsWhenTheFileHasGone)
{
    m_folder.writePreferences(
        "<preferences version='1.0'><value key='a'>1</value><!-- c --></preferences>");
    ASSERT_TRUE(m_store.load());
    std::filesystem::remove(m_folder.preferences());
    m_store.set(u"b", u"2");
    ASSERT_TRUE(m_store.save());
    const std::string bytes = test::read(m_folder.preferences());
    EXPECT_THAT(bytes, HasSubstr("<value key=\"a\">1</value>"));
    EXPECT_THAT(bytes, HasSubstr("<!-- c -->"));
    EXPECT_THAT(bytes, HasSubstr("<value key=\"b\">2</value>"));
}

TEST_F(PreferenceDomainTest, WritesNothingWhenNothingChanged)
{
    const std::string byHand = "<preferences version='1.0'><value key='a'>1</value></preferences>";
    m_folder.writePreferences(byHand);
    ASSERT_TRUE(m_store.load());
    m_store.set(u"a", u"1");
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(test::read(m_folder.preferences()), byHand);
}

TEST_F(PreferenceDomainTest, SavingNothingMakesAnEmptyFile)
{
    EXPECT_FALSE(m_store.load());
    EXPECT_TRUE(m_store.save());
    EXPECT_TRUE(m_store.load());
}

TEST_F(PreferenceDomainTest, PutsADamagedFileAsideAndStartsAfresh)
{
    m_folder.writePreferences("broken 1");
    EXPECT_FALSE(m_store.load());
    EXPECT_THAT(
        namesIn(m_folder.path()), ElementsAre("preferences-3.damaged-1.xml", "preferences-3.lock"));
    m_store.set(u"key", u"1");
    EXPECT_TRUE(m_store.save());
    EXPECT_TRUE(m_store.load());
    EXPECT_EQ(test::read(m_folder.path("preferences-3.damaged-1.xml")), "broken 1");
}

TEST_F(PreferenceDomainTest, NeverReplacesADamagedFileThatWasPutAsideBefore)
{
    for (int round = 1; round <= 3; ++round) {
        m_folder.writePreferences("broken " + std::to_string(round));
        EXPECT_FALSE(m_store.load());
    }
    for (int round = 1; round <= 3; ++round) {
        const std::string number = std::to_string(round);
        EXPECT_EQ(test::read(m_folder.path("preferences-3.damaged-" + number + ".xml")),
            "broken " + number);
    }
}

TEST_F(PreferenceDomainTest, SavesAfreshOverAFileThatWasDamagedInTheMeantime)
{
    saved(u"a", u"1");
    ASSERT_TRUE(m_store.load());
    m_folder.writePreferences("broken");
    m_store.set(u"b", u"2");
    ASSERT_TRUE(m_store.save());
    EXPECT_EQ(test::read(m_folder.path("preferences-3.damaged-1.xml")), "broken");
    ASSERT_TRUE(m_store.load());
    EXPECT_EQ(m_store.text(u"a"), u"1");
    EXPECT_EQ(m_store.text(u"b"), u"2");
}

TEST_F(PreferenceDomainTest, LeavesAFileOfALaterFormatAlone)
{
    m_folder.writePreferences(kLater);
    expectUntouchable();
    EXPECT_EQ(test::read(m_folder.preferences()), kLater);
}

TEST_F(PreferenceDomainTest, LeavesAHugeFileAlone)
{
    m_folder.writePreferences("");
    ASSERT_EQ(::truncate(m_folder.preferences().c_str(), 100L * 1024 * 1024), 0);
    expectUntouchable();
    EXPECT_EQ(std::filesystem::file_size(m_folder.preferences()), 100U * 1024 * 1024);
}

TEST_F(PreferenceDomainTest, LeavesAFolderInPlaceOfTheFileAlone)
{
    std::filesystem::create_directory(m_folder.preferences());
    expectUntouchable();
}

TEST_F(PreferenceDomainTest, LeavesAPipeAloneAndDoesNotWaitForIt)
{
    ASSERT_EQ(::mkfifo(m_folder.preferences().c_str(), 0600), 0);
    expectUntouchable();
}

TEST_F(PreferenceDomainTest, LeavesALinkToNowhereAndALoopAlone)
{
    std::filesystem::create_symlink("nowhere", m_folder.preferences());
    expectUntouchable();
    EXPECT_EQ(std::filesystem::read_symlink(m_folder.preferences()), "nowhere");
    std::filesystem::remove(m_folder.preferences());
    std::filesystem::create_symlink("preferences-3.xml", m_folder.preferences());
    expectUntouchable();
}

TEST_F(PreferenceDomainTest, KeepsALinkToAFileAndWritesTheFile)
{
    StoreFolder elsewhere;
    elsewhere.write("mine.xml", "<preferences version='1.0'/>");
    std::filesystem::create_symlink(elsewhere.path("mine.xml"), m_folder.preferences());
    ASSERT_TRUE(m_store.load());
    m_store.set(u"key", u"1");
    ASSERT_TRUE(m_store.save());
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.preferences()));
    EXPECT_THAT(test::read(elsewhere.path("mine.xml")), HasSubstr("<value key=\"key\">1</value>"));
    EXPECT_THAT(namesIn(elsewhere.path()), ElementsAre("mine.xml"));
}

TEST_F(PreferenceDomainTest, DoesNotWriteAFileThatItWouldNotRead)
{
    saved(u"small", u"1");
    ASSERT_TRUE(m_store.load());
    m_store.set(u"huge", std::u16string(preferences::kMaxFileLength, u'x'));
    EXPECT_FALSE(m_store.save());
    m_store.set(u"huge", u"");
    EXPECT_TRUE(m_store.save());
    ASSERT_TRUE(m_store.load());
    EXPECT_EQ(m_store.text(u"small"), u"1");
}

TEST_F(PreferenceDomainTest, TakesOverWhatAKilledSaverLeft)
{
    m_folder.write("preferences-3.xml.new", "half a fi");
    m_store.set(u"key", u"1");
    EXPECT_TRUE(m_store.save());
    EXPECT_THAT(namesIn(m_folder.path()), ElementsAre("preferences-3.lock", "preferences-3.xml"));
}

TEST_F(PreferenceDomainTest, WaitsForAnotherSaver)
{
    m_store.set(u"key", u"1");
    const int lock = ::open(m_folder.path("preferences-3.lock").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_NE(lock, -1);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    std::future<bool> result = std::async(std::launch::async, [&] { return m_store.save(); });
    EXPECT_EQ(result.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_FALSE(std::filesystem::exists(m_folder.preferences()));
    ASSERT_EQ(::flock(lock, LOCK_UN), 0);
    EXPECT_TRUE(result.get());
    EXPECT_TRUE(std::filesystem::exists(m_folder.preferences()));
    ::close(lock);
}

TEST_F(PreferenceDomainTest, GivesUpOnASaverThatNeverEnds)
{
    m_store.set(u"key", u"1");
    const int lock = ::open(m_folder.path("preferences-3.lock").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_NE(lock, -1);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(m_store.save());
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::seconds(5));
    ::close(lock);
    EXPECT_TRUE(m_store.save());
}
