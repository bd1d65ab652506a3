#include "mfx/cli/Places.h"

#include "commandline/ExitCode.h"
#include "support/OrdinaryUser.h"
#include "support/TestFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

using testing::HasSubstr;

namespace mfx {

using namespace commandline;

namespace {

class PlacesTest : public testing::Test {
protected:
    PlacesTest()
    {
        std::filesystem::create_directories(folder.path("card/DCIM"));
        folder.write("file", "mine");
    }

    // Why a place is refused; nothing when it is not.
    std::string refusal(const std::string& place) const
    {
        try {
            requireUsablePlace(place, folder.path("card"), Purpose::kTarget);
        } catch (const CommandError& error) {
            EXPECT_EQ(error.code(), ExitCode::kPlaceUnusable);
            return error.what();
        }
        return "";
    }

    test::TestFolder folder;
};

TEST_F(PlacesTest, MakesPathsAbsoluteAndPlain)
{
    const std::string here = std::filesystem::current_path();
    const std::pair<const char*, std::string> rows[] = {
        {"", ""},
        {"/", "/"},
        {"/a/b", "/a/b"},
        {"/a/b/", "/a/b"},
        {"/a//b/./c/..", "/a/b"},
        {"/..", "/"},
        {".", here},
        {"a", here + "/a"},
        {"./a/", here + "/a"},
    };
    for (const auto& [text, path] : rows)
        EXPECT_EQ(absolutePath(text), path) << text;
}

TEST_F(PlacesTest, TakesAFolderThatIsThereOrNotYet)
{
    EXPECT_EQ(refusal(folder.path("new/deep")), "");
    EXPECT_EQ(refusal(folder.path()), "") << "the source may lie in the target";
    EXPECT_EQ(refusal(folder.path("card-2")), "");
    EXPECT_FALSE(std::filesystem::exists(folder.path("new"))) << "looks only";
}

TEST_F(PlacesTest, RefusesTheSourceAndWhatLiesInIt)
{
    std::filesystem::create_directory_symlink("card", folder.path("link"));
    for (const char* place :
        {"card", "card/", "card/DCIM", "card/new/deep", "link", "link/new", "new/../card/x"})
        EXPECT_THAT(refusal(folder.path(place)), HasSubstr("lies inside the source")) << place;
}

TEST_F(PlacesTest, RefusesWhatIsNoFolder)
{
    EXPECT_THAT(refusal(folder.path("file")), HasSubstr("is a file: name a folder"));
    EXPECT_THAT(refusal(folder.path("file")), HasSubstr(folder.path("file")));
}

TEST_F(PlacesTest, RefusesWhatTextsOfThePluginCannotHold)
{
    EXPECT_THAT(refusal(folder.path("caf\xE9")), HasSubstr("not UTF-8"));
    const std::string deep = folder.path(std::string(100, 'x') + '/' + std::string(120, 'y'));
    EXPECT_THAT(refusal(deep), HasSubstr("lies too deep"));
}

TEST_F(PlacesTest, MakesAPlaceAndTellsItsPathWithoutLinks)
{
    std::filesystem::create_directories(folder.path("real"));
    std::filesystem::create_directory_symlink("real", folder.path("link"));
    const std::string real = std::filesystem::canonical(folder.path("real"));
    EXPECT_EQ(makePlace(folder.path("link/new"), Purpose::kTarget), real + "/new");
    EXPECT_TRUE(std::filesystem::is_directory(folder.path("real/new")));
    EXPECT_EQ(makePlace(folder.path("link"), Purpose::kTarget), real);
}

TEST_F(PlacesTest, SaysWhyAPlaceCannotBeMade)
{
    std::filesystem::create_symlink("nowhere", folder.path("dead"));
    for (const char* place : {"file", "file/below", "dead"}) {
        try {
            makePlace(folder.path(place), Purpose::kBackup);
            ADD_FAILURE() << place;
        } catch (const CommandError& error) {
            EXPECT_EQ(error.code(), ExitCode::kPlaceUnusable);
            EXPECT_THAT(error.what(), HasSubstr("the backup folder " + folder.path(place)));
        }
    }
}

TEST_F(PlacesTest, SaysThatAPlaceCannotBeWritten)
{
    ::chmod(folder.path().c_str(), 0755);
    std::filesystem::create_directories(folder.path("shut"));
    ::chmod(folder.path("shut").c_str(), 0555);
    const int seen = test::askedAsOrdinaryUser([this] {
        try {
            makePlace(folder.path("shut"), Purpose::kTarget);
        } catch (const CommandError& error) {
            return std::string(error.what()).find("cannot be written") == std::string::npos ? 1 : 0;
        }
        return 2;
    });
    EXPECT_EQ(seen, 0);
}

} // namespace
} // namespace mfx
