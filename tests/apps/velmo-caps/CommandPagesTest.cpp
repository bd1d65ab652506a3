// The manual page and the completion name what the program takes, and nothing else.
#include "apps/velmo-caps/StoreCommand.h"

#include <algorithm>
#include <regex>
#include <set>

namespace test {
namespace {

using Words = std::set<std::string>;

class StoreCommandPagesTest : public StoreCommand {
protected:
    const std::vector<std::string> commands{
        "list", "add", "remove", "groups", "group-add", "group-remove", "import", "export"};

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
            "PATH=$(dirname \"" VELMO_CAPS "\"):$PATH; source \"" TEVORO_SOURCE_DIR
            "/share/bash-completion/completions/velmo-caps\"; COMP_WORDS=("
                + words + "); COMP_CWORD=" + std::to_string(place)
                + "; _velmo_caps; printf '%s\\n' \"${COMPREPLY[@]}\""});
        const std::string text = shell.rest();
        EXPECT_EQ(shell.finish(), 0);
        return text;
    }
};

TEST_F(StoreCommandPagesTest, TheManualPageNamesEveryOptionAndNoOther)
{
    std::string page = read(TEVORO_SOURCE_DIR "/docs/man/velmo-caps.1");
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    Words options = optionsOf({});
    for (const std::string& command : commands)
        options.merge(optionsOf({command}));
    ASSERT_GE(options.size(), 7u);
    EXPECT_EQ(longOptionsIn(page), options);
}

TEST_F(StoreCommandPagesTest, TheCompletionOffersEveryOptionAndNoOther)
{
    EXPECT_EQ(longOptionsIn(completion("velmo-caps --", 1)), optionsOf({}));
    for (const std::string& command : commands)
        EXPECT_EQ(
            longOptionsIn(completion("velmo-caps " + command + " x --", 3)), optionsOf({command}))
            << command;
}

TEST_F(StoreCommandPagesTest, TheCompletionOffersCommandsApplicationsAndKeys)
{
    EXPECT_EQ(completion("velmo-caps imp", 1), "import\n");
    done({"add", "echo-1.0", "--path", "/bin/true"});
    EXPECT_EQ(completion("velmo-caps remove e", 2), "echo-1.0\n");
    EXPECT_EQ(completion("velmo-caps export g", 2), "groups\n");
    EXPECT_EQ(completion("velmo-caps add x --set Dis", 4), "DisplayName=\n");
    done({"group-add", "nx/3/echo-1.0"});
    EXPECT_EQ(completion("velmo-caps group-remove n", 2), "nx/3/echo-1.0\n");
}

} // namespace
} // namespace test
