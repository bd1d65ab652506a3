// The manual page and the completion name what the program takes, and nothing else.
#include "apps/tevorotalk/BusFixture.h"

#include <algorithm>
#include <regex>
#include <set>

namespace test {
namespace {

using Words = std::set<std::string>;

class CommandPagesTest : public BusFixture {
protected:
    const std::vector<std::string> commands{
        "apps", "ports", "ping", "send", "listen", "monitor", "info"};

    static Words longOptionsIn(const std::string& text)
    {
        const std::regex option("--[a-z]+(-[a-z]+)*");
        Words found;
        for (std::sregex_iterator at(text.begin(), text.end(), option), end; at != end; ++at)
            found.insert(at->str());
        return found;
    }

    // As the help shows them at the beginning of a line.
    static Words optionsOf(std::vector<std::string> words)
    {
        words.emplace_back("--help");
        const std::string help = run(words).out;
        const std::regex row("\n  (-[^ ]+)");
        Words found;
        for (std::sregex_iterator at(help.begin(), help.end(), row), end; at != end; ++at)
            found.merge(longOptionsIn((*at)[1].str()));
        return found;
    }

    static std::string completion(const std::string& words, int place)
    {
        PeerProcess shell({"/bin/bash",
            "-c",
            "PATH=$(dirname \"" TEVOROTALK "\"):$PATH; source \"" TEVORO_SOURCE_DIR
            "/share/bash-completion/completions/tevorotalk\"; COMP_WORDS=("
                + words + "); COMP_CWORD=" + std::to_string(place)
                + "; _tevorotalk; printf '%s\\n' \"${COMPREPLY[@]}\""});
        const std::string text = shell.rest();
        EXPECT_EQ(shell.finish(), 0);
        return text;
    }
};

TEST_F(CommandPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    std::string page = read(TEVORO_SOURCE_DIR "/docs/man/tevorotalk.1");
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    Words options = optionsOf({});
    for (const std::string& command : commands)
        options.merge(optionsOf({command}));
    ASSERT_GE(options.size(), 17u);
    EXPECT_EQ(longOptionsIn(page), options);
}

TEST_F(CommandPagesTest, TheCompletionOffersEveryOptionAndNoOther)
{
    EXPECT_EQ(longOptionsIn(completion("tevorotalk --", 1)), optionsOf({}));
    for (const std::string& command : commands)
        EXPECT_EQ(
            longOptionsIn(completion("tevorotalk " + command + " x --", 3)), optionsOf({command}))
            << command;
}

TEST_F(CommandPagesTest, TheCompletionOffersCommandsAndTargets)
{
    EXPECT_EQ(completion("tevorotalk mo", 1), "monitor\n");
    listen("echo-1.0");
    EXPECT_EQ(completion("tevorotalk ping e", 2), "echo-1.0\n");
    EXPECT_EQ(completion("tevorotalk ping echo-1.0 ST", 3), "STATUS\n");
}

} // namespace
} // namespace test
