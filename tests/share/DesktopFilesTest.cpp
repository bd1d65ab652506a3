// What desktops read of the programs: valid, whole, installed, and in step with the programs.

#include "pictures/folder/PictureKind.h"
#include "support/ProgramOutput.h"
#include "support/TestFolder.h"

#include <QMimeDatabase>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

namespace {

namespace fs = std::filesystem;
using pictures::PictureKind;
using testing::Contains;
using testing::IsSupersetOf;
using Words = std::set<std::string>;

const fs::path kShare = TEVORO_SOURCE_DIR "/share";

std::vector<fs::path> filesOf(const std::string& folder, const std::string& extension)
{
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(kShare / folder))
        if (entry.path().extension() == extension)
            found.push_back(entry.path());
    return found;
}

// Keys and values of the only group that our entries have.
using Entry = std::map<std::string, std::string>;
Entry entryOf(const fs::path& file)
{
    std::istringstream lines(test::read(file));
    Entry entry;
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t sign = line.find('='); sign != std::string::npos)
            entry[line.substr(0, sign)] = line.substr(sign + 1);
    return entry;
}
std::map<std::string, Entry> entries()
{
    std::map<std::string, Entry> all;
    for (const fs::path& file : filesOf("applications", ".desktop"))
        all[file.filename()] = entryOf(file);
    return all;
}

Words listOf(const std::string& value)
{
    std::istringstream parts(value);
    Words words;
    for (std::string part; std::getline(parts, part, ';');)
        words.insert(part);
    return words;
}

// The texts of all elements of that name.
Words elementsOf(const std::string& document, const std::string& name)
{
    const std::regex element("<" + name + "[^>]*>([^<]*)</" + name + ">");
    Words texts;
    for (std::sregex_iterator at(document.begin(), document.end(), element), end; at != end; ++at)
        texts.insert((*at)[1]);
    return texts;
}

// What becomes of share/ where it is installed.
class DesktopFilesTest : public testing::Test {
protected:
    DesktopFilesTest()
    {
        test::outputOf({"-u",
            "DESTDIR",
            CMAKE_PROGRAM,
            "-DCMAKE_INSTALL_PREFIX=" + m_prefix.path(),
            "-P",
            BUILD_FOLDER "/share/cmake_install.cmake"});
    }
    fs::path installed(const fs::path& path) const { return m_prefix.path() / path; }
    // The stage has the programs that are built; share/ has scripts.
    bool isProgram(const std::string& name) const
    {
        return fs::exists(fs::path(STAGE_PROGRAMS) / name) || fs::exists(installed("bin") / name);
    }

private:
    test::TestFolder m_prefix;
};

TEST_F(DesktopFilesTest, PassTheChecksOfDesktops)
{
    const auto desktopEntries = filesOf("applications", ".desktop");
    const auto components = filesOf("metainfo", ".xml");
    ASSERT_EQ(desktopEntries.size(), 2U);
    ASSERT_EQ(components.size(), 2U);
    for (const fs::path& file : desktopEntries)
        EXPECT_EQ(test::outputOf({"desktop-file-validate", file}), "") << "has hints, too";
    for (const fs::path& file : components)
        test::outputOf({"appstreamcli", "validate", "--no-net", file});
}

TEST_F(DesktopFilesTest, AreInstalledAllOfThem)
{
    for (const char* const folder : {"applications", "icons", "metainfo"})
        for (const auto& entry : fs::recursive_directory_iterator(kShare / folder))
            if (entry.is_regular_file()) {
                EXPECT_EQ(test::read(installed("share" / fs::relative(entry.path(), kShare))),
                    test::read(entry.path()))
                    << entry.path();
            }
}

TEST_F(DesktopFilesTest, NameProgramsAndIconsThatAreInstalled)
{
    for (auto& [name, entry] : entries()) {
        const std::string& line = entry["Exec"];
        EXPECT_TRUE(isProgram(line.substr(0, line.find(' ')))) << name << ": " << line;
        EXPECT_TRUE(isProgram(entry["TryExec"])) << name;
        EXPECT_TRUE(
            fs::exists(installed("share/icons/hicolor/scalable/apps") / (entry["Icon"] + ".svg")))
            << name;
    }
}

TEST_F(DesktopFilesTest, SpeakTheLanguagesOfThePrograms)
{
    for (auto& [name, entry] : entries())
        for (const std::string language : {"de", "es", "fr", "it", "ja", "nl", "pl"})
            for (const std::string key : {"GenericName", "Comment"})
                EXPECT_NE(entry[key + "[" + language + "]"], "") << name << " " << key << language;
}

TEST_F(DesktopFilesTest, TellCataloguesOfTheEntryAndTheProgramsOfEach)
{
    for (const fs::path& file : filesOf("metainfo", ".xml")) {
        const std::string document = test::read(file);
        const std::string id = *elementsOf(document, "id").begin();
        EXPECT_EQ(file.filename(), id + ".metainfo.xml");
        EXPECT_THAT(elementsOf(document, "launchable"), Contains(id + ".desktop"));
        EXPECT_TRUE(fs::exists(installed("share/applications") / (id + ".desktop")));
        for (const std::string& program : elementsOf(document, "binary"))
            EXPECT_TRUE(isProgram(program)) << program;
    }
}

TEST_F(DesktopFilesTest, OfferTheDownloadForCardsAndTheBrowserForFolders)
{
    auto all = entries();
    EXPECT_EQ(all["org.tevoro.mfx.desktop"]["MimeType"], "x-content/image-dcf;");
    EXPECT_EQ(all["org.tevoro.mfx.desktop"]["Exec"], "mfx-card %f");
    EXPECT_THAT(listOf(all["org.tevoro.tevoro.desktop"]["MimeType"]), Contains("inode/directory"));
    EXPECT_EQ(all["org.tevoro.tevoro.desktop"]["Exec"], "tevoro %f");
}

bool isImage(PictureKind kind)
{
    return pictures::isPicture(kind) && kind != PictureKind::kMovie;
}

// The types of which the browser reads a file, by the name that such files have.
Words typesThatAreRead()
{
    Words types{"inode/directory"};
    for (const QMimeType& type : QMimeDatabase().allMimeTypes())
        if (std::ranges::any_of(type.suffixes(), [](const QString& suffix) {
                return isImage(pictures::kindOfName(QStringLiteral("a.") + suffix));
            }))
            types.insert(type.name().toStdString());
    return types;
}

TEST_F(DesktopFilesTest, OpenTheImagesThatTheBrowserReadsAndNoOthers)
{
    const Words read = typesThatAreRead();
    ASSERT_THAT(read, IsSupersetOf({"image/jpeg", "image/heif", "image/x-adobe-dng"}));
    EXPECT_EQ(listOf(entries()["org.tevoro.tevoro.desktop"]["MimeType"]), read);
}

} // namespace
