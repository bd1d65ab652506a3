#include "platform/common/services/ProcessFence.h"

#include "core/platform/support/PeerProcess.h"
#include "platform/common/services/ProcessControl.h"
#include "support/TestFolder.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>
#include <thread>

#include <gmock/gmock.h>

namespace test {
namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

class ProcessFenceTest : public testing::Test {
protected:
    // What the program says of itself, by name.
    std::map<std::string, int> probe(const std::string& word)
    {
        PeerProcess process({FENCE_PROBE, word, file});
        std::istringstream lines(process.rest());
        EXPECT_EQ(process.finish(), 0);
        std::map<std::string, int> facts;
        for (std::string name, value; std::getline(lines, name, '=') && std::getline(lines, value);)
            facts[name] = std::stoi(value);
        return facts;
    }

    TestFolder folder;
    std::string file = folder.path("file");
};

TEST_F(ProcessFenceTest, BoundsWhatAProcessTakes)
{
    auto facts = probe("bounds");
    EXPECT_EQ(facts["inherited"], EBADF);
    EXPECT_EQ(facts["bounded"], 0);
    EXPECT_EQ(facts["growing"], EFBIG);
    EXPECT_EQ(facts["descriptors"], 10);
    EXPECT_EQ(facts["privileges"], 1);
    EXPECT_EQ(facts["addresses"], Pt::kFenceHasFilters ? ENOMEM : 0);
    EXPECT_EQ(facts["core"], 0);
    if (facts.contains("raised")) { // root may raise what it likes
        EXPECT_EQ(facts["raised"], EPERM);
    }
    EXPECT_EQ(std::filesystem::file_size(file), 0U);
}

// As users set them for all that they start.
TEST_F(ProcessFenceTest, KeepsBoundsThatAreLowerAlready)
{
    PeerProcess process(
        {"/bin/sh", "-c", "ulimit -n 9; ulimit -f 1; exec " FENCE_PROBE " bounds " + file});
    const std::string facts = process.rest();
    EXPECT_EQ(process.finish(), 0);
    EXPECT_NE(facts.find("bounded=0\n"), std::string::npos) << facts;
    EXPECT_NE(facts.find("descriptors=9\n"), std::string::npos) << facts;
}

TEST_F(ProcessFenceTest, EndsWhatComputesForTooLong)
{
    PeerProcess process({FENCE_PROBE, "spin"});
    EXPECT_EQ(process.finish(), -1); // by a signal
}

// A shell starts it, which is its parent.
TEST_F(ProcessFenceTest, EndsAProcessWithItsParent)
{
    PeerProcess parent({"/bin/sh", "-c", FENCE_PROBE " stay $$ & wait"});
    const std::string id = parent.line();
    ASSERT_EQ(id.substr(0, 3), "id=");
    EXPECT_EQ(parent.line(), "bound=1");
    const unsigned long process = std::stoul(id.substr(3));
    EXPECT_TRUE(Pt::isProcessRunning(process));
    parent.kill();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (Pt::isProcessRunning(process) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(Pt::isProcessRunning(process));
}

TEST_F(ProcessFenceTest, KnowsAParentThatHasEndedAlready)
{
    PeerProcess process({FENCE_PROBE, "stay", "1"}); // whose child it never was
    process.line();
    EXPECT_EQ(process.line(), "bound=0");
}

class ProcessFilterTest : public ProcessFenceTest {
protected:
    void SetUp() override
    {
        if (!Pt::kFenceHasFilters)
            GTEST_SKIP() << "sanitizers need the calls: this build has no filters";
        if (const int error = probe("code").at("filter"); error != 0)
            GTEST_SKIP() << "this system takes no filter: error " << error;
    }
};

TEST_F(ProcessFilterTest, LetsNoMemoryBecomeCode)
{
    EXPECT_THAT(probe("code"),
        UnorderedElementsAre(Pair("filter", 0),
            Pair("executable", EPERM),
            Pair("made executable", EPERM),
            Pair("memory", 0),
            Pair("protected", 0),
            Pair("allocated", 0),
            Pair("read", 0)));
}

TEST_F(ProcessFilterTest, LeavesComputingAndNothingElse)
{
    EXPECT_THAT(probe("shut"),
        UnorderedElementsAre(Pair("filter", 0),
            Pair("write", EPERM),
            Pair("read", EPERM),
            Pair("look", EPERM),
            Pair("remove", EPERM),
            Pair("socket", EPERM),
            Pair("internet", EPERM),
            Pair("fork", EPERM),
            Pair("thread", EPERM),
            Pair("run", EPERM),
            Pair("signal", EPERM),
            Pair("executable", EPERM),
            Pair("made executable", EPERM),
            Pair("memory", 0),
            Pair("protected", 0),
            Pair("allocated", 0)));
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(ResidentMemoryTest, CountsWhatIsTouched)
{
    constexpr std::size_t kSize = std::size_t{64} << 20;
    const Pt::ResidentMemory memory;
    const std::size_t before = memory.bytes();
    EXPECT_GT(before, 0U);
    const std::vector<char> touched(kSize, 'x');
    EXPECT_GT(memory.bytes(), before + kSize / 2) << touched.back();
}

} // namespace
} // namespace test
