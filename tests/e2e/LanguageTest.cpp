// In which language mfx speaks to people, and that programs are told the same in each.

#include "e2e/support/MfxRun.h"
#include "support/Utf16File.h"

#include <fstream>
#include <set>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace e2e {

namespace {

// All but those that come with the time.
std::vector<Json> timelessEvents(const RunResult& result)
{
    std::vector<Json> all = result.events();
    std::erase_if(all, [](const Json& event) { return event["event"] == "progress"; });
    return all;
}

std::set<std::string> keysOf(const Json& object)
{
    std::set<std::string> keys;
    for (const auto& [key, value] : object.items())
        keys.insert(key);
    return keys;
}

} // namespace

class LanguageTest : public MfxTest {
protected:
    void SetUp() override
    {
        MfxTest::SetUp();
        addFile("A.JPG", "photo");
        addFile("B.JPG", "other");
        fs::create_symlink("A.JPG", card() / "DCIM/100MFX/LINK.JPG");
    }

    void speak(const std::string& locale) { setVariable("LC_ALL", locale); }

    // mfx download CARD --to TARGET MORE..., told in words.
    RunResult downloadInWords(const std::vector<std::string>& more = {})
    {
        std::vector<std::string> words{"download", card(), "--to", target()};
        words.insert(words.end(), more.begin(), more.end());
        return mfx(words);
    }

    // Speaks a language of this test's own, in a run-time tree of its own.
    void addLanguage(const std::string& bytes)
    {
        addFileOfTree("shared_assets/locales/xx_xx/MFXStrings.dct", bytes);
        addFileOfTree("shared_assets/locales/xx_xx/Tevoro_custom_options.ui",
            contentOf(fs::path(TEVORO_STAGE_HOME)
                / "shared_assets/locales/en_us/Tevoro_custom_options.ui"));
        speak("xx_XX.UTF-8");
    }
};

TEST_F(LanguageTest, TellsADownloadInGerman)
{
    speak("de_DE.UTF-8");
    const RunResult result = downloadInWords();
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("2 gespeichert, 2 geprüft, 0 Probleme"));
    EXPECT_THAT(result.out, HasSubstr("Karte"));
    EXPECT_THAT(result.out, Not(HasSubstr("saved")));
    EXPECT_THAT(result.out, Not(HasSubstr("symbolic link")));
    EXPECT_THAT(result.out, Not(HasSubstr("wipe")));
    EXPECT_EQ(filesIn(target()).size(), 2U);
}

TEST_F(LanguageTest, SpeaksALanguageInEachOfItsTerritories)
{
    for (const char* territory :
        {"de_AT.UTF-8", "de_CH", "de_IT.UTF-8", "nl_BE.UTF-8", "nl_SR.UTF-8", "it_SM.UTF-8"}) {
        speak(territory);
        EXPECT_THAT(downloadInWords().out, Not(HasSubstr("already present"))) << territory;
    }
    speak("sv_FI.UTF-8"); // no Swedish yet
    EXPECT_THAT(downloadInWords().out, HasSubstr("already present"));
}

TEST_F(LanguageTest, TellsAListInGerman)
{
    const timespec epoch[2] = {{0, 0}, {0, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (card() / "DCIM/100MFX/B.JPG").c_str(), epoch, 0), 0);
    speak("de_DE.UTF-8");
    const RunResult result = mfx({"list", card()});
    EXPECT_THAT(result.out, HasSubstr("5 Byte"));
    EXPECT_THAT(result.out, HasSubstr("ohne Datum"));
    EXPECT_THAT(result.err, HasSubstr("symbolischer Link"));
    EXPECT_THAT(result.err, Not(HasSubstr("not handled")));
}

TEST_F(LanguageTest, TellsErrorsInGerman)
{
    speak("de_DE.UTF-8");
    const RunResult noSource = mfx({"list", "/nowhere/at/all"});
    EXPECT_EQ(noSource.code, 3);
    EXPECT_THAT(noSource.err, HasSubstr("/nowhere/at/all"));
    EXPECT_THAT(noSource.err, HasSubstr("Quelle"));
    const RunResult wrong = mfx({"list"});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.err, HasSubstr("SOURCE"));
    EXPECT_THAT(wrong.err, Not(HasSubstr("is required")));
    EXPECT_THAT(wrong.err, Not(HasSubstr("Run with")));
    const RunResult pattern = download({"--rename", "{nam}"});
    EXPECT_EQ(pattern.code, 2);
    EXPECT_THAT(pattern.err, HasSubstr("{nam}"));
    EXPECT_THAT(pattern.err, Not(HasSubstr("is no field")));
}

TEST_F(LanguageTest, HelpsInGerman)
{
    speak("de_DE.UTF-8");
    for (const std::vector<std::string>& words :
        {std::vector<std::string>{"--help"}, {"download", "--help"}}) {
        const RunResult help = mfx(words);
        EXPECT_EQ(help.code, 0);
        EXPECT_THAT(help.out, HasSubstr("Optionen:"));
        EXPECT_THAT(help.out, HasSubstr("Aufruf: mfx"));
        for (const char* english : {"Usage", "Options:", "Subcommands", "REQUIRED", "Print this"})
            EXPECT_THAT(help.out, Not(HasSubstr(english)));
    }
    EXPECT_THAT(mfx({"download", "--help"}).out, HasSubstr("--delete-originals"));
    EXPECT_EQ(mfx({"--version"}).out.substr(0, 4), "mfx ");
}

// Each language that ships says all this in words of its own, and a broken file in none.
TEST_F(LanguageTest, SpeaksEveryLanguageThatShips)
{
    std::set<std::string> verdicts;
    std::set<std::string> pages;
    const std::vector<std::string> locales{"C", "de", "ja", "fr", "es", "it", "nl", "pl"};
    for (const std::string& locale : locales) {
        speak(locale);
        fs::remove_all(target());
        verdicts.insert(download().summary()["verdict"]);
        pages.insert(mfx({"download", "--help"}).out);
    }
    EXPECT_EQ(verdicts.size(), locales.size()) << testing::PrintToString(verdicts);
    EXPECT_EQ(pages.size(), locales.size());
}

TEST_F(LanguageTest, SpeaksTheLanguageOfEveryTerritory)
{
    struct Row {
        const char* territory;
        const char* language;
    };
    for (const Row& row : {Row{"de_AT.UTF-8", "de"},
             {"de_CH.UTF-8", "de"},
             {"de_BE", "de"},
             {"de_LI", "de"},
             {"de_LU", "de"},
             {"it_CH", "it"},
             {"nl_BE", "nl"},
             {"fr_CA", "fr"},
             {"es_MX", "es"}}) {
        speak(row.language);
        const std::string page = mfx({"download", "--help"}).out;
        speak(row.territory);
        EXPECT_EQ(mfx({"download", "--help"}).out, page) << row.territory;
        fs::remove_all(target());
        const std::string verdict = download().summary()["verdict"];
        speak(row.language);
        fs::remove_all(target());
        EXPECT_EQ(download().summary()["verdict"], verdict) << row.territory;
    }
}

TEST_F(LanguageTest, IsEnglishForEveryKindOfEnglishAndForNone)
{
    const std::string english = mfx({"download", "--help"}).out;
    for (const char* locale : {"C", "POSIX", "en_GB.UTF-8", "en_US", "xx_XX", "", "../../../x"}) {
        speak(locale);
        EXPECT_EQ(mfx({"download", "--help"}).out, english) << locale;
    }
    unsetVariable("LC_ALL");
    EXPECT_EQ(mfx({"download", "--help"}).out, english);
    setVariable("LC_MESSAGES", "de_DE.UTF-8");
    EXPECT_NE(mfx({"download", "--help"}).out, english);
}

TEST_F(LanguageTest, TellsProgramsTheSameInEveryLanguage)
{
    const std::vector<Json> english = timelessEvents(download());
    fs::remove_all(target());
    speak("de_DE.UTF-8");
    const RunResult german = download();
    ASSERT_EQ(timelessEvents(german).size(), english.size()) << german.out << german.err;
    for (std::size_t i = 0; i < english.size(); ++i) {
        Json here = timelessEvents(german)[i];
        Json there = english[i];
        EXPECT_EQ(keysOf(here), keysOf(there));
        if (there["event"] == "summary") {
            EXPECT_NE(here["verdict"], there["verdict"]);
        }
        for (const char* forPeople : {"verdict", "error", "title", "text"}) {
            here.erase(forPeople);
            there.erase(forPeople);
        }
        EXPECT_EQ(here, there) << "statuses, counts and kinds, such as \"symbolic link\"";
    }
    EXPECT_EQ(german.summary()["not_handled"]["symbolic link"], 1);
    speak("C");
    const std::string list = mfx({"list", card(), "--json"}).out;
    speak("de_DE.UTF-8");
    EXPECT_EQ(mfx({"list", card(), "--json"}).out, list);
}

TEST_F(LanguageTest, TellsTheSameFailuresToPrograms)
{
    fs::create_directories(data());
    std::ofstream(data() / "blocked") << "a file where the sub-folder should be";
    fs::create_directories(target());
    fs::rename(data() / "blocked", target() / "2026");
    const RunResult english = download({"--subfolders", "%Y"});
    speak("de_DE.UTF-8");
    const RunResult german = download({"--subfolders", "%Y"});
    EXPECT_EQ(german.code, english.code);
    EXPECT_EQ(german.item("A.JPG")["status"], "failed");
    EXPECT_EQ(english.item("A.JPG")["status"], "failed");
    EXPECT_NE(german.item("A.JPG")["error"], english.item("A.JPG")["error"]);
    EXPECT_EQ(german.summary()["not_safe"][0]["reason"], german.item("A.JPG")["error"]);
}

TEST_F(LanguageTest, ReadsTheDictionaryBesideTheProgramFromAnyFolder)
{
    addLanguage(test::utf16File(u"\"$$$/Mfx/Verdict/Saved=SAVED:%1\"\n"
                                u"\"$$$/Mfx/Help/Usage=Aufruf\"\n"
                                u"\"$$$/Mfx/Verdict/MayBeWiped=%1 OK\"\n"));
    setWorkingFolder(card().parent_path());
    fs::remove(card() / "DCIM/100MFX/LINK.JPG");
    const RunResult result =
        mfx({"download", "card", "--to", fs::relative(target(), card().parent_path())});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("SAVED:2, 2 proven, 0 problems OK\n"));
    EXPECT_EQ(filesIn(target()).size(), 2U) << "paths count from the user's folder";
    EXPECT_THAT(mfx({"--help"}).out, HasSubstr("Aufruf: mfx"));
}

TEST_F(LanguageTest, TakesTheLanguageThatTheConfigurationBesideTheProgramNames)
{
    addLanguage(test::utf16File(u"\"$$$/Mfx/Help/Usage=Aufruf\"\n"));
    speak("C");
    const std::string plist =
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>AppPreferenceID</key>"
        "<string>com.velmo.app</string></dict></plist>";
    addFileOfTree("bin/mfx_common_config.xml", plist);
    fs::create_directories(root() / "home/.config/velmo");
    std::ofstream(root() / "home/.config/velmo/com.velmo.app.ini") << "Language=xx_xx\n";
    EXPECT_THAT(mfx({"--help"}).out, HasSubstr("Aufruf: mfx"));
    fs::remove(root() / "app/bin/mfx_common_config.xml");
    std::ofstream(data() / "mfx_common_config.xml") << plist;
    setWorkingFolder(data());
    EXPECT_THAT(mfx({"--help"}).out, HasSubstr("Usage: mfx")) << "what lies around counts nothing";
}

TEST_F(LanguageTest, IsEnglishWhereTheDictionaryIsDamaged)
{
    const std::string english = mfx({"--help"}).out;
    for (const std::string& bytes : {std::string(),
             std::string("\xFF\xFE"),
             std::string(50, '\0'),
             std::string("ZString Binary Format\x01\x05\x01\x7F\x7F\x7F\x7F"),
             test::utf16File(u"\"$$$/Mfx/Help/Usage=Aufruf\"\n\"$bad=x\"\n")}) {
        addLanguage(bytes);
        EXPECT_EQ(mfx({"--help"}).out, english);
    }
    addLanguage(test::utf16File(u"\"$$$/Mfx/Help/Usage=Aufruf\"\n"));
    EXPECT_NE(mfx({"--help"}).out, english);
    fs::permissions(root() / "app/shared_assets/locales/xx_xx/MFXStrings.dct", fs::perms::none);
    asOrdinaryUser(::geteuid() == 0);
    EXPECT_EQ(mfx({"--help"}).out, english);
}

// A folder that one may not enter again, such as root's home after a change of user.
TEST_F(LanguageTest, StaysWhereItHasNoWayBack)
{
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can start a program in a folder that is shut to it";
    }
    fs::create_directories(data() / "shut");
    fs::permissions(data() / "shut", fs::perms::owner_all);
    setWorkingFolder(data() / "shut");
    asOrdinaryUser(true);
    speak("de_DE.UTF-8");
    const RunResult relative = mfx({"list", "card"});
    EXPECT_EQ(relative.code, 3) << "not the program's folder, where paths would mean other things";
    EXPECT_THAT(relative.err, HasSubstr("Quelle"));
    EXPECT_EQ(mfx({"list", card()}).code, 0);
}

} // namespace e2e
