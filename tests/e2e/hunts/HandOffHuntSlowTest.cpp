// The long hunt for downloads that end badly for their browser's sake, and the one wait that none
// of its rounds has the time for.

#include "e2e/hunts/HandOffHunt.h"
#include "e2e/support/HandOffFixture.h"

#include <gmock/gmock.h>

namespace e2e::hunt {

TEST(HandOffHuntSlowTest, EndsWellInManyRounds)
{
    constexpr std::uint64_t kSeed = 1;
    constexpr std::uint64_t kRounds = 200;
    huntHandOffs(kSeed, kRounds);
}

using HandOffSlowTest = HandOffFixture;

TEST_F(HandOffSlowTest, SaysThatABrowserDoesNotAnswer)
{
    registerBrowser(TEVORO);
    const auto browser = start({TEVORO, "--headless"});
    ASSERT_TRUE(browser->waitFor("on the bus as tevoro-2.0", kPatience)) << browser->output();
    browser->signal(SIGSTOP);
    const auto before = std::chrono::steady_clock::now();
    const RunResult result = download({"--open"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(28));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(50));
    EXPECT_THAT(messages(result),
        testing::Contains("the result is not shown: tevoro does not answer; it may show it later"));
    expectNoLeftovers();
}

} // namespace e2e::hunt
