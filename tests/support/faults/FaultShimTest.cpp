#include "support/TestFolder.h"
#include "support/faults/ShimmedProgram.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

// The counted calls of the probe, in their order.
const std::vector<std::string> kCalls = {"mkdir",
    "open",
    "write",
    "pwrite",
    "fchmod",
    "futimens",
    "fdatasync",
    "fsync",
    "close",
    "rename",
    "renameat2",
    "link",
    "open",
    "read",
    "close",
    "unlink",
    "unlink",
    "rmdir",
    "open",
    "open",
    "write",
    "close",
    "unlink",
    "close"};

class FaultShimTest : public testing::Test {
protected:
    test::ShimmedProgram probe(const std::string& ending = "return") const
    {
        test::ShimmedProgram program(FAULT_SHIM, {FAULT_PROBE, m_folder.path("root"), ending});
        program.with("FAULT_ROOT", m_folder.path("root"));
        program.with("FAULT_COUNT_FILE", m_folder.path("count"));
        return program;
    }

    void SetUp() override { cleanUp(); }

    void cleanUp() const
    {
        std::filesystem::remove_all(m_folder.path("root"));
        std::filesystem::create_directory(m_folder.path("root"));
    }

    std::string count() const { return test::read(m_folder.path("count")); }

    test::TestFolder m_folder;
};

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

} // namespace

TEST_F(FaultShimTest, CountsTheCallsBelowTheFolderAndNoOthers)
{
    const test::ProgramEnd end = probe().run();
    EXPECT_TRUE(end.exited);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output, "text 0123456789x\n");
    EXPECT_EQ(count(), std::to_string(kCalls.size()) + "\n");
}

TEST_F(FaultShimTest, CountsAlsoForAProgramThatLeavesAtOnce)
{
    EXPECT_EQ(probe("leave").run().status, 0);
    EXPECT_EQ(count(), std::to_string(kCalls.size()) + "\n");
}

TEST_F(FaultShimTest, CountsNothingWithoutAFolder)
{
    EXPECT_EQ(probe().with("FAULT_ROOT", "").at(1).run().output, "text 0123456789x\n");
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("count")));
}

TEST_F(FaultShimTest, TakesAFolderByItsWholeNameOnly)
{
    EXPECT_EQ(
        probe().with("FAULT_ROOT", m_folder.path("roo")).at(1).run().output, "text 0123456789x\n");
    EXPECT_EQ(count(), "0\n");
}

TEST_F(FaultShimTest, FailsTheCallAtEachPlaceWithTheChosenError)
{
    for (std::size_t n = 1; n <= kCalls.size(); ++n) {
        cleanUp();
        const test::ProgramEnd end =
            probe().at(static_cast<int>(n)).with("FAULT_ERRNO", std::to_string(ENOSPC)).run();
        EXPECT_EQ(firstLine(end.output).substr(0, 4) == "text"
                ? firstLine(end.output.substr(end.output.find('\n') + 1))
                : firstLine(end.output),
            kCalls[n - 1] + " " + std::to_string(ENOSPC))
            << "call " << n << ":\n"
            << end.output;
    }
}

TEST_F(FaultShimTest, ClosesTheDescriptorThoughCloseFails)
{
    // The read's descriptor: a second close of it would be told as a failure of its own.
    const test::ProgramEnd end = probe().at(9).with("FAULT_ERRNO", std::to_string(EIO)).run();
    EXPECT_EQ(end.output, "close " + std::to_string(EIO) + "\ntext 0123456789x\n");
}

TEST_F(FaultShimTest, CountsOnlyTheNamedCalls)
{
    const test::ProgramEnd end = probe().with("FAULT_ONLY", "fsync,unlink").at(2).run();
    EXPECT_THAT(end.output, testing::HasSubstr("unlink " + std::to_string(EIO)));
    EXPECT_EQ(count(), "4\n");
}

TEST_F(FaultShimTest, KillsTheProcessBeforeTheCall)
{
    const test::ProgramEnd end = probe().with("FAULT_KILL", "1").at(10).run();
    EXPECT_FALSE(end.exited);
    EXPECT_EQ(end.status, SIGKILL);
    EXPECT_EQ(test::read(m_folder.path("root/folder/a")), "0123456789x");
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("root/folder/b")));
    EXPECT_FALSE(std::filesystem::exists(m_folder.path("count")));
}

TEST_F(FaultShimTest, ChangesOneBitOfAWrite)
{
    EXPECT_EQ(probe().with("FAULT_FLIP", "1").with("FAULT_ONLY", "write").at(1).run().output,
        "text 0123446789x\n");
}

TEST_F(FaultShimTest, WritesHalfWhereAsked)
{
    const test::ProgramEnd end =
        probe().with("FAULT_SHORT", "1").with("FAULT_ONLY", "write").at(1).run();
    EXPECT_EQ(end.output, "short 5\ntext 01234\n");
}
