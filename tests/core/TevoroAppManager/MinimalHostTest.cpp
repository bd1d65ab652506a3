#include "support/Environment.h"
#include "support/TestFolder.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

struct Outcome {
    int code = -1;
    std::string output;
};

Outcome run(const std::string& arguments)
{
    Outcome outcome;
    std::FILE* const pipe = ::popen((MINIMAL_HOST " " + arguments + " 2>&1").c_str(), "re");
    if (!pipe)
        return outcome;
    char piece[4096];
    while (const std::size_t length = std::fread(piece, 1, sizeof piece, pipe))
        outcome.output.append(piece, length);
    const int status = ::pclose(pipe);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

class MinimalHostTest : public ::testing::Test {
protected:
    MinimalHostTest()
    {
        m_environment.set("HOME", m_home.path());
        m_environment.set("TEVOROTALK_PORT_DIR", m_home.path("ports"));
        for (const char* const variable :
            {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "MFX_APPLICATION_DATA"})
            m_environment.unset(variable);
    }

    test::TestFolder m_home;
    test::Environment m_environment;
};

TEST_F(MinimalHostTest, PrintsTheNameAndTheFileTypes)
{
    const Outcome outcome = run(TEVORO_STAGE_HOME "/plugins/TevoroAppManager.so");
    EXPECT_EQ(outcome.code, 0) << outcome.output;
    EXPECT_EQ(outcome.output.rfind("Tevoro Application Manager\njpg\njpe\n", 0), 0U);
    EXPECT_NE(outcome.output.find("\nnef\n"), std::string::npos);
    EXPECT_NE(outcome.output.find("\ncr3\n"), std::string::npos) << "the extensions set by it";
}

TEST_F(MinimalHostTest, SaysWhenThereIsNoPlugin)
{
    const Outcome outcome = run(m_home.write("empty.so", ""));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.output.find("cannot be loaded"), std::string::npos);
}

TEST_F(MinimalHostTest, IsQuotedWordForWordByThePageOnTheContract)
{
    const std::string program =
        test::read(TEVORO_SOURCE_DIR "/tests/core/TevoroAppManager/MinimalHost.cpp");
    const std::string page = test::read(TEVORO_SOURCE_DIR "/docs/host-contract.md");
    ASSERT_FALSE(program.empty());
    EXPECT_NE(page.find("```cpp\n" + program + "```\n"), std::string::npos);
}

} // namespace
