#include "mfx/engine/sink/SessionPreferences.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "mfx/engine/sink/SinkModule.h"
#include "platform/common/services/UserFolders.h"
#include "support/Environment.h"

#include <cstdlib>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;

namespace mfx {
namespace {

using tests::bytesOf;
using tests::namesBelow;

constexpr char kStoreLibrary[] = TEVORO_STAGE_HOME "/Frameworks/preference_xml_parser.framework";
constexpr char kStore[] = "user/preferences-3.xml";

class SessionPreferencesTest : public testing::Test {
protected:
    SessionPreferencesTest()
    {
        home.addFolder("run");
        home.addFolder("Pictures");
        environment.set("HOME", home.path());
        environment.set("XDG_RUNTIME_DIR", home.path("run"));
        environment.set("XDG_CONFIG_HOME", home.path("config"));
        environment.unset("XDG_DATA_HOME");
        environment.set("MFX_APPLICATION_DATA", home.path("unused"));
        environment.unset("MFX_USER_DATA");
    }

    void store(const std::string& entries) const
    {
        home.add(kStore, "<preferences version=\"1.0\">" + entries + "</preferences>\n");
    }
    static std::string value(const std::string& key, const std::string& text)
    {
        return "<value key=\"" + key + "\">" + text + "</value>";
    }
    std::string userStore() const { return home.path("user"); }

    // What the plug-in finds in this run.
    static std::optional<std::string> inSession(const std::string& key)
    {
        const std::string folder = std::getenv("MFX_APPLICATION_DATA");
        return PreferenceClient(kStoreLibrary, folder + "/Velmo/Tevoro NX").text(key);
    }
    std::optional<std::string> inUserStore(const std::string& key) const
    {
        return PreferenceClient(kStoreLibrary, userStore()).text(key);
    }

    tests::TestCard home;
    test::Environment environment;
    Choices choices;
};

TEST_F(SessionPreferencesTest, ShowsThePluginAStoreOfItsOwnWithEveryKey)
{
    const SessionPreferences session(kStoreLibrary, std::nullopt, choices);
    EXPECT_EQ(inSession("ConvertToDNG"), "0");
    EXPECT_EQ(inSession("GridFilterPref"), "7");
    EXPECT_EQ(inSession("SecondaryLocation"), "");
    EXPECT_FALSE(session.backupFolder());
    EXPECT_EQ(session.firstSequence(), 1U);
}

TEST_F(SessionPreferencesTest, LaysTheChoicesOverWhatWasStored)
{
    store(value("DNGJpegPreviewSize", "2") + value("OpenTevoro", "1") + value("Note", "mine"));
    choices.backupFolder = "/backup/of mine";
    choices.deletesOriginals = true;
    choices.convertsToDNG = true;
    choices.dngPreview = 0;
    const SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_EQ(inSession("SaveToSecondaryLocation"), "1");
    EXPECT_EQ(inSession("SecondaryLocation"), "/backup/of mine");
    EXPECT_EQ(inSession("DeleteOriginals"), "1");
    EXPECT_EQ(inSession("ConvertToDNG"), "1");
    EXPECT_EQ(inSession("DNGJpegPreviewSize"), "0");
    EXPECT_EQ(inSession("DNGOutputLinear"), "0");
    EXPECT_EQ(inSession("OpenTevoro"), "1") << "what the command line leaves open is the store's";
    EXPECT_EQ(inSession("Note"), "mine");
    EXPECT_THAT(session.backupFolder(), Optional(std::string("/backup/of mine")));
}

TEST_F(SessionPreferencesTest, UndoesWhatWasRememberedForOneRun)
{
    const std::string remembered = value("SaveToSecondaryLocation", "1")
        + value("SecondaryLocation", "/backup") + value("OpenTevoro", "1")
        + value("ConvertToDNG", "1");
    store(remembered);
    choices.makesNoBackup = true;
    choices.opensBrowser = choices.convertsToDNG = false;
    const SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_FALSE(session.backupFolder());
    for (const char* key : {"SaveToSecondaryLocation", "OpenTevoro", "ConvertToDNG"}) {
        EXPECT_EQ(inSession(key), "0") << key;
        EXPECT_EQ(inUserStore(key), "1") << key;
    }
    EXPECT_EQ(inSession("SecondaryLocation"), "/backup") << "for when it is wanted again";
}

TEST_F(SessionPreferencesTest, RemembersWhatWasUndone)
{
    store(value("SaveToSecondaryLocation", "1") + value("SecondaryLocation", "/backup"));
    choices.makesNoBackup = true;
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    ASSERT_TRUE(session.remember("/photos", 1));
    EXPECT_EQ(inUserStore("SaveToSecondaryLocation"), "0");
    choices.makesNoBackup = false;
    EXPECT_FALSE(SessionPreferences(kStoreLibrary, userStore(), choices).backupFolder());
}

TEST_F(SessionPreferencesTest, LeavesTheUsersStoreAsItIs)
{
    store(value("OpenTevoro", "1"));
    const std::string before = bytesOf(home.path(kStore));
    choices.backupFolder = "/backup";
    {
        const SessionPreferences session(kStoreLibrary, userStore(), choices);
    }
    EXPECT_EQ(bytesOf(home.path(kStore)), before);
    EXPECT_THAT(namesBelow(userStore()), ElementsAre("preferences-3.xml"));
}

TEST_F(SessionPreferencesTest, TakesItsOwnStoreAwayAtTheEnd)
{
    {
        const SessionPreferences session(kStoreLibrary, std::nullopt, choices);
        EXPECT_THAT(std::getenv("MFX_APPLICATION_DATA"), HasSubstr(home.path("run")));
        EXPECT_THAT(namesBelow(home.path("run")), Not(IsEmpty()));
    }
    EXPECT_THAT(namesBelow(home.path("run")), IsEmpty());
}

TEST_F(SessionPreferencesTest, TakesTheBackupFolderFromTheStore)
{
    store(value("SaveToSecondaryLocation", "1") + value("SecondaryLocation", "/backup"));
    EXPECT_THAT(SessionPreferences(kStoreLibrary, userStore(), choices).backupFolder(),
        Optional(std::string("/backup")));
    store(value("SaveToSecondaryLocation", "1") + value("SecondaryLocation", ""));
    EXPECT_THAT(SessionPreferences(kStoreLibrary, userStore(), choices).backupFolder(),
        Optional(home.path("Pictures")));
    store(value("SaveToSecondaryLocation", "0") + value("SecondaryLocation", "/backup"));
    EXPECT_FALSE(SessionPreferences(kStoreLibrary, userStore(), choices).backupFolder());
}

TEST_F(SessionPreferencesTest, CountsOnFromTheStoreAndTakesNonsenseForOne)
{
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"1", 1},
        {"472", 472},
        {"0", 0},
        {"", 1},
        {"-5", 1},
        {"many", 1},
        {"12x", 1},
        {" 7", 1},
        {"99999999999999999999999", 1},
    };
    for (const auto& [text, number] : rows) {
        store(value("RenameSequenceNumber", text));
        EXPECT_EQ(SessionPreferences(kStoreLibrary, userStore(), choices).firstSequence(), number)
            << text;
    }
}

TEST_F(SessionPreferencesTest, RemembersTheChoicesAndKeepsWhatItDoesNotKnow)
{
    store(value("Note", "mine") + "<later attribute=\"1\"/>" + value("OpenTevoro", "1"));
    choices.backupFolder = "/backup";
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    ASSERT_TRUE(session.remember("/photos", 43));
    EXPECT_EQ(inUserStore("SecondaryLocation"), "/backup");
    EXPECT_EQ(inUserStore("Location"), "/photos");
    EXPECT_EQ(inUserStore("RenameSequenceNumber"), "43");
    EXPECT_EQ(inUserStore("OpenTevoro"), "1");
    EXPECT_EQ(inUserStore("Note"), "mine");
    EXPECT_THAT(bytesOf(home.path(kStore)), HasSubstr("<later attribute=\"1\""));
}

TEST_F(SessionPreferencesTest, RemembersInAStoreThatIsNotThereYet)
{
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_FALSE(std::filesystem::exists(userStore()));
    ASSERT_TRUE(session.remember("/photos", 1));
    EXPECT_EQ(inUserStore("GridFilterPref"), "7");
}

TEST_F(SessionPreferencesTest, SaysThatItCouldNotRemember)
{
    home.add("user", "a file");
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_FALSE(session.remember("/photos", 1));
    EXPECT_EQ(bytesOf(home.path("user")), "a file");
    EXPECT_FALSE(SessionPreferences(kStoreLibrary, std::nullopt, choices).remember("/photos", 1));
}

// A backup that was chosen long ago must not be left out without a word.
TEST_F(SessionPreferencesTest, SaysThatAStoreIsDamaged)
{
    EXPECT_TRUE(SessionPreferences(kStoreLibrary, userStore(), choices).startedWhole());
    store(value("SaveToSecondaryLocation", "1"));
    EXPECT_TRUE(SessionPreferences(kStoreLibrary, userStore(), choices).startedWhole());
    home.add(kStore, "<preferences version=\"1.0\"><value key=\"Save");
    EXPECT_FALSE(SessionPreferences(kStoreLibrary, userStore(), choices).startedWhole());
    std::filesystem::remove(home.path(kStore));
    home.addFolder(kStore);
    EXPECT_FALSE(SessionPreferences(kStoreLibrary, userStore(), choices).startedWhole());
}

TEST_F(SessionPreferencesTest, GoesWithoutAStoreOfALaterVersionAndLeavesItAlone)
{
    const std::string later = "<preferences version=\"2.0\"/>";
    home.add(kStore, later);
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_FALSE(session.startedWhole());
    EXPECT_FALSE(session.remember("/photos", 1));
    EXPECT_EQ(bytesOf(home.path(kStore)), later);
}

TEST_F(SessionPreferencesTest, LeavesADamagedStoreAloneUntilItRemembers)
{
    home.add(kStore, "no preferences");
    SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_EQ(bytesOf(home.path(kStore)), "no preferences");
    EXPECT_TRUE(session.remember("/photos", 1));
    EXPECT_EQ(bytesOf(home.path("user/preferences-3.damaged-1.xml")), "no preferences");
    EXPECT_EQ(inUserStore("Location"), "/photos");
}

TEST_F(SessionPreferencesTest, LeavesTheUsersOwnFolderForWhatOutlivesTheRun)
{
    const SessionPreferences session(kStoreLibrary, userStore(), choices);
    EXPECT_EQ(Pt::userApplicationData(), std::getenv("MFX_APPLICATION_DATA"));
    EXPECT_EQ(Pt::lastingApplicationData(), home.path("unused"));
    // For a run that is started from within this one, too.
    const SessionPreferences inner(kStoreLibrary, userStore(), choices);
    EXPECT_EQ(Pt::lastingApplicationData(), home.path("unused"));
    EXPECT_EQ(SessionPreferences::userStoreFolder(), home.path("unused/Velmo/Tevoro NX"));
}

TEST_F(SessionPreferencesTest, OpensAStoreByAFolderAboveItToo)
{
    home.addFolder("data/Velmo/Tevoro NX");
    EXPECT_EQ(
        SessionPreferences::storeFolderIn(home.path("data")), home.path("data/Velmo/Tevoro NX"));
    EXPECT_EQ(SessionPreferences::storeFolderIn(home.path("user")), home.path("user"));
    environment.unset("MFX_APPLICATION_DATA");
    EXPECT_EQ(SessionPreferences::userStoreFolder(), home.path(".local/share/Velmo/Tevoro NX"));
}

TEST_F(SessionPreferencesTest, NeedsTheStoresLibrary)
{
    EXPECT_THROW(
        SessionPreferences(home.path("missing.framework"), userStore(), choices), SystemPartError);
    EXPECT_THAT(namesBelow(home.path("run")), IsEmpty()) << "nothing is left of the session";
}

} // namespace
} // namespace mfx
