// The manual page and the completion name what the program takes, and nothing else.
#include "apps/tevorotalk/BusFixture.h"

#include <regex>
#include <set>

namespace test {
namespace {

using TevoroPagesTest = BusFixture;

std::set<std::string> longOptionsIn(const std::string& text)
{
    const std::regex option("--[a-z]+");
    std::set<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), option), end; at != end; ++at)
        found.insert(at->str());
    return found;
}

TEST_F(TevoroPagesTest, NameEveryOptionAndNoOther)
{
    PeerProcess process({TEVORO, "--help"});
    const std::set<std::string> options = longOptionsIn(process.rest());
    EXPECT_EQ(options.size(), 4U);
    std::string page = read(TEVORO_SOURCE_DIR "/docs/man/tevoro.1");
    std::erase(page, '\\');
    std::set<std::string> named = longOptionsIn(page);
    named.erase("--launch"); // of another command
    EXPECT_EQ(named, options);
    EXPECT_EQ(longOptionsIn(read(TEVORO_SOURCE_DIR "/share/bash-completion/completions/tevoro")),
        options);
}

} // namespace
} // namespace test
