#include "mfx/engine/sink/PreferenceClient.h"

#include "apps/mfx/engine/SavingFixture.h"
#include "mfx/engine/sink/SinkModule.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace mfx {
namespace {

constexpr char kLibrary[] = TEVORO_STAGE_HOME "/Frameworks/preference_xml_parser.framework";

class PreferenceClientTest : public testing::Test {
protected:
    tests::TestCard folder;
};

TEST_F(PreferenceClientTest, KeepsTextsFromOneRunToTheNext)
{
    {
        PreferenceClient client(kLibrary, folder.path("new/store"));
        EXPECT_FALSE(client.wasLoaded());
        EXPECT_FALSE(client.text("Location"));
        client.setText("Location", "/data/p\xC3\xA4ris \xF0\x9F\x93\xB7");
        client.setText("Empty", "");
        ASSERT_TRUE(client.save());
    }
    PreferenceClient client(kLibrary, folder.path("new/store"));
    EXPECT_TRUE(client.wasLoaded());
    EXPECT_EQ(client.text("Location"), "/data/p\xC3\xA4ris \xF0\x9F\x93\xB7");
    EXPECT_EQ(client.text("Empty"), "");
}

TEST_F(PreferenceClientTest, WritesNothingUnlessItIsSaved)
{
    {
        PreferenceClient client(kLibrary, folder.path());
        client.setText("Location", "/data");
    }
    EXPECT_FALSE(PreferenceClient(kLibrary, folder.path()).wasLoaded());
}

TEST_F(PreferenceClientTest, SaysThatNothingCouldBeWritten)
{
    folder.add("file");
    PreferenceClient client(kLibrary, folder.path("file"));
    EXPECT_FALSE(client.wasLoaded());
    client.setText("Location", "/data");
    EXPECT_FALSE(client.save());
}

TEST_F(PreferenceClientTest, NamesALibraryThatCannotBeLoaded)
{
    const std::string missing = folder.path("missing.framework");
    try {
        PreferenceClient client(missing, folder.path());
        FAIL() << "loaded";
    } catch (const SystemPartError& error) {
        EXPECT_THAT(error.what(), HasSubstr(missing));
    }
}

} // namespace
} // namespace mfx
