// The manual page and the completion name what the program takes, and nothing else.
#include "support/CommandPages.h"

#include "apps/tevorotalk/BusFixture.h"

namespace test {
namespace {

class CommandPagesTest : public BusFixture {
protected:
    const std::vector<std::string> commands{
        "apps", "ports", "ping", "send", "listen", "monitor", "info"};

    static Words optionsOf(std::vector<std::string> words)
    {
        words.emplace_back("--help");
        return optionsInHelp(run(words).out);
    }
    static std::string offered(const std::string& words, int place)
    {
        return completion(TEVOROTALK, words, place);
    }
};

TEST_F(CommandPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    Words options = optionsOf({});
    for (const std::string& command : commands)
        options.merge(optionsOf({command}));
    ASSERT_GE(options.size(), 17u);
    EXPECT_EQ(optionsInPage(TEVORO_SOURCE_DIR "/docs/man/tevorotalk.1"), options);
}

TEST_F(CommandPagesTest, TheCompletionOffersEveryOptionAndNoOther)
{
    EXPECT_EQ(longOptionsIn(offered("tevorotalk --", 1)), optionsOf({}));
    for (const std::string& command : commands)
        EXPECT_EQ(
            longOptionsIn(offered("tevorotalk " + command + " x --", 3)), optionsOf({command}))
            << command;
}

TEST_F(CommandPagesTest, TheCompletionOffersCommandsAndTargets)
{
    EXPECT_EQ(offered("tevorotalk mo", 1), "monitor\n");
    listen("echo-1.0");
    EXPECT_EQ(offered("tevorotalk ping e", 2), "echo-1.0\n");
    EXPECT_EQ(offered("tevorotalk ping echo-1.0 ST", 3), "STATUS\n");
}

} // namespace
} // namespace test
