#include "core/messaging/SignalInterruption.h"
#include "messaging/TevoroTalkUtils.h"
#include "support/Environment.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace ScObjects;

double wallNow()
{
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<double>(std::chrono::duration_cast<milliseconds>(now).count());
}

class BusFilesTest : public testing::Test {
protected:
    SoString path(const std::string& name) const { return m_folder.path(name).c_str(); }

    test::TestFolder m_folder;
};

class BusLocaleTest : public testing::Test {
protected:
    std::string localeFor(const std::string& value)
    {
        m_environment.set("LC_ALL", value);
        return TevoroTalkUtils::getCurrentLocale().get();
    }

    test::Environment m_environment;
};

class TimeTextTest : public testing::Test {
protected:
    TimeTextTest() { useZone("UTC0"); }
    void useZone(const std::string& zone)
    {
        m_environment.set("TZ", zone);
        ::tzset();
    }
    static std::string textOf(std::int64_t time)
    {
        return TevoroTalkUtils::getTimeString(&time).get();
    }

    // Behind the environment's end: the zone of before holds again.
    struct ZoneReader {
        ~ZoneReader() { ::tzset(); }
    } m_zoneReader;
    test::Environment m_environment;
};

} // namespace

TEST_F(BusFilesTest, FindsFilesAndFolders)
{
    m_folder.write("file", "");
    EXPECT_TRUE(TevoroTalkUtils::fileExists(path("file")));
    EXPECT_TRUE(TevoroTalkUtils::fileExists(m_folder.path().c_str()));
    EXPECT_FALSE(TevoroTalkUtils::fileExists(path("missing")));
    EXPECT_FALSE(TevoroTalkUtils::fileExists(path("file/below")));
    EXPECT_FALSE(TevoroTalkUtils::fileExists(""));
}

TEST_F(BusFilesTest, DoesNotFindALinkToNowhere)
{
    fs::create_symlink("nowhere", m_folder.path("link"));
    EXPECT_FALSE(TevoroTalkUtils::fileExists(path("link")));
}

TEST_F(BusFilesTest, DeletesAFile)
{
    m_folder.write("file", "x");
    EXPECT_TRUE(TevoroTalkUtils::deleteFile(path("file")));
    EXPECT_FALSE(fs::exists(m_folder.path("file")));
}

TEST_F(BusFilesTest, DeletesNothingThatIsMissing)
{
    EXPECT_FALSE(TevoroTalkUtils::deleteFile(path("missing")));
}

TEST_F(BusFilesTest, DeletesNoFolder)
{
    fs::create_directory(m_folder.path("folder"));
    EXPECT_FALSE(TevoroTalkUtils::deleteFile(path("folder")));
    EXPECT_TRUE(fs::exists(m_folder.path("folder")));
}

TEST_F(BusFilesTest, MakesAFolderThatOthersMayPassThrough)
{
    const mode_t mask = ::umask(0);
    EXPECT_TRUE(TevoroTalkUtils::mkdir(path("folder")));
    ::umask(mask);
    EXPECT_EQ(fs::status(m_folder.path("folder")).permissions(), fs::perms{0771});
}

TEST_F(BusFilesTest, IsContentWithAFolderThatIsThere)
{
    EXPECT_TRUE(TevoroTalkUtils::mkdir(m_folder.path().c_str()));
}

TEST_F(BusFilesTest, IsContentWithAFileInThePlaceOfAFolder)
{
    m_folder.write("file", "x");
    EXPECT_TRUE(TevoroTalkUtils::mkdir(path("file")));
    EXPECT_EQ(test::read(m_folder.path("file")), "x");
}

TEST_F(BusFilesTest, MakesNoFolderInOneThatIsMissing)
{
    EXPECT_FALSE(TevoroTalkUtils::mkdir(path("missing/folder")));
    EXPECT_FALSE(fs::exists(m_folder.path("missing")));
}

TEST_F(BusFilesTest, RemovesAnEmptyFolderOnly)
{
    m_folder.write("full/file", "x");
    fs::create_directory(m_folder.path("empty"));
    EXPECT_TRUE(TevoroTalkUtils::rmdir(path("empty")));
    EXPECT_FALSE(fs::exists(m_folder.path("empty")));
    EXPECT_FALSE(TevoroTalkUtils::rmdir(path("full")));
    EXPECT_FALSE(TevoroTalkUtils::rmdir(path("full/file")));
    EXPECT_FALSE(TevoroTalkUtils::rmdir(path("missing")));
    EXPECT_TRUE(fs::exists(m_folder.path("full/file")));
}

TEST_F(BusFilesTest, SeparatesFoldersByASlash)
{
    EXPECT_STREQ(TevoroTalkUtils::getFolderSeparator(), "/");
}

TEST_F(BusLocaleTest, IsInLowerCaseWithoutItsCodeset)
{
    EXPECT_EQ(localeFor("de_AT.UTF-8"), "de_at");
    EXPECT_EQ(localeFor("JA"), "ja");
}

TEST_F(BusLocaleTest, IsEnglishWhenThereIsNone)
{
    EXPECT_EQ(localeFor("C"), "en_us");
    EXPECT_EQ(localeFor("../x"), "en_us");
}

TEST_F(BusLocaleTest, IsEnglishWhenTheNameIsTooLong)
{
    EXPECT_EQ(localeFor("sr_Latn_RS_abcd"), "sr_latn_rs_abcd"); // 15 characters
    EXPECT_EQ(localeFor("sr_Latn_RS_abcde"), "en_us");
}

TEST_F(TimeTextTest, HasHoursMinutesAndSecondsOfTheLocalTime)
{
    EXPECT_EQ(textOf(0), "00:00:00");
    EXPECT_EQ(textOf(86400 + 3600 * 23 + 60 * 4 + 5), "23:04:05");
    EXPECT_EQ(textOf(-1), "23:59:59");
    EXPECT_EQ(textOf(std::int64_t{5'000'000'000}), "08:53:20"); // beyond 32 bits
    useZone("XYZ-5:30");
    EXPECT_EQ(textOf(0), "05:30:00");
}

TEST_F(TimeTextTest, IsEmptyForATimeWithoutAYear)
{
    EXPECT_EQ(textOf(std::numeric_limits<std::int64_t>::max()), "");
}

TEST_F(TimeTextTest, IsOfThisMomentWithoutATime)
{
    std::string before, text, after;
    do { // a second may end in between
        before = textOf(std::time(nullptr));
        text = TevoroTalkUtils::getTimeString(nullptr).get();
        after = textOf(std::time(nullptr));
    } while (before != after);
    EXPECT_EQ(text, before);
}

TEST(BusTimeTest, CountsWholeMillisecondsSince1970)
{
    const double before = wallNow();
    const double time = TevoroTalkUtils::getUTCTimeMilliSeconds();
    const double after = wallNow();
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
    EXPECT_EQ(time, std::floor(time));
}

TEST(BusTimeTest, CountsSecondsSince1970)
{
    const std::int64_t before =
        std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    const std::int64_t time = TevoroTalkUtils::getTimeSeconds();
    EXPECT_LE(before, time);
    EXPECT_LE(time, before + 60);
}

TEST(BusTimeTest, SleepsSecondsAndTheirParts)
{
    const auto before = std::chrono::steady_clock::now();
    TevoroTalkUtils::sleep(1500);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1500));
}

TEST(BusTimeTest, DoesNotResumeASleepThatASignalEnds)
{
    EXPECT_TRUE(test::signalEnds([] { TevoroTalkUtils::sleep(60'000); }));
}

TEST(BusTimerTest, ReadsTheTimeSinceItsStart)
{
    TevoroTalkUtils::Timer timer;
    const double beforeStart = wallNow();
    timer.start();
    const double afterStart = wallNow();
    TevoroTalkUtils::sleep(20);
    const double beforeRead = wallNow();
    const double first = timer.stop();
    const double afterRead = wallNow();
    const double second = timer.stop();
    EXPECT_GE(first, beforeRead - afterStart);
    EXPECT_LE(first, afterRead - beforeStart);
    EXPECT_GE(second, first);
}

TEST(BusTimerTest, CountsFrom1970BeforeItsStart)
{
    const TevoroTalkUtils::Timer timer;
    const double before = wallNow();
    EXPECT_GE(timer.stop(), before);
    EXPECT_GE(timer.now(), before);
}

TEST(SenderTest, IsTheHostAndTheProcess)
{
    EXPECT_EQ(std::string(TevoroTalkUtils::getSenderID().get()),
        "localhost:mac" + std::to_string(::getpid()));
}

TEST(SenderTest, IsAnotherInAnotherProcess)
{
    const std::string ours = std::string(TevoroTalkUtils::getSenderID().get());
    const int answer = test::askedAsOrdinaryUser([&] {
        const std::string theirs = std::string(TevoroTalkUtils::getSenderID().get());
        return theirs != ours && theirs == "localhost:mac" + std::to_string(::getpid()) ? 1 : 0;
    });
    EXPECT_EQ(answer, 1);
}
