// The manual page and the completion name what the program takes, and nothing else.
#include "apps/tevorotalk/BusFixture.h"
#include "support/CommandPages.h"

namespace test {
namespace {

using TevoroPagesTest = BusFixture;

TEST_F(TevoroPagesTest, NameEveryOptionAndNoOther)
{
    PeerProcess process({TEVORO, "--help"});
    const Words options = longOptionsIn(process.rest());
    EXPECT_EQ(options.size(), 4U);
    Words named = optionsInPage(TEVORO_SOURCE_DIR "/docs/man/tevoro.1");
    named.erase("--launch"); // of another command
    EXPECT_EQ(named, options);
    EXPECT_EQ(longOptionsIn(read(TEVORO_SOURCE_DIR "/share/bash-completion/completions/tevoro")),
        options);
}

} // namespace
} // namespace test
