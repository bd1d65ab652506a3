// The manual page and the completion name what the program takes, and nothing else.
#include "support/CommandPages.h"

#include "apps/velmo-caps/StoreCommand.h"

namespace test {
namespace {

class StoreCommandPagesTest : public StoreCommand {
protected:
    const std::vector<std::string> commands{
        "list", "add", "remove", "groups", "group-add", "group-remove", "import", "export"};

    static Words optionsOf(std::vector<std::string> words)
    {
        words.emplace_back("--help");
        return optionsInHelp(run(words).out);
    }
    static std::string offered(const std::string& words, int place)
    {
        return completion(VELMO_CAPS, words, place);
    }
};

TEST_F(StoreCommandPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    Words options = optionsOf({});
    for (const std::string& command : commands)
        options.merge(optionsOf({command}));
    ASSERT_GE(options.size(), 7u);
    EXPECT_EQ(optionsInPage(TEVORO_SOURCE_DIR "/docs/man/velmo-caps.1"), options);
}

TEST_F(StoreCommandPagesTest, TheCompletionOffersEveryOptionAndNoOther)
{
    EXPECT_EQ(longOptionsIn(offered("velmo-caps --", 1)), optionsOf({}));
    for (const std::string& command : commands)
        EXPECT_EQ(
            longOptionsIn(offered("velmo-caps " + command + " x --", 3)), optionsOf({command}))
            << command;
}

TEST_F(StoreCommandPagesTest, TheCompletionOffersCommandsApplicationsAndKeys)
{
    EXPECT_EQ(offered("velmo-caps imp", 1), "import\n");
    done({"add", "echo-1.0", "--path", "/bin/true"});
    EXPECT_EQ(offered("velmo-caps remove e", 2), "echo-1.0\n");
    EXPECT_EQ(offered("velmo-caps export g", 2), "groups\n");
    EXPECT_EQ(offered("velmo-caps add x --set Dis", 4), "DisplayName=\n");
    done({"group-add", "nx/3/echo-1.0"});
    EXPECT_EQ(offered("velmo-caps group-remove n", 2), "nx/3/echo-1.0\n");
}

} // namespace
} // namespace test
