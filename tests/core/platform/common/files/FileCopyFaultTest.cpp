// What stands on the disk when any one file call of a copy fails, is cut short, lies, or is the
// last of its process.

#include "platform/common/files/FileCopy.h"
#include "support/TestFolder.h"
#include "support/faults/ShimmedProgram.h"

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kNotProven = 1 + static_cast<int>(Pt::CopyProblem::kNotProven);
constexpr int kTargetFull = 1 + static_cast<int>(Pt::CopyProblem::kTargetFull);

class FileCopyFaultTest : public testing::Test {
protected:
    FileCopyFaultTest()
    {
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            m_bytes[i] = static_cast<char>(i * 7);
        m_folder.write("source", m_bytes);
        startOver();
    }

    void startOver() const
    {
        fs::remove_all(m_folder.path("to"));
        fs::create_directory(m_folder.path("to"));
    }

    test::ShimmedProgram program() const
    {
        test::ShimmedProgram copy(
            FAULT_SHIM, {FILE_COPY_PROBE, m_folder.path("source"), m_folder.path("to"), "copy"});
        copy.with("FAULT_ROOT", m_folder.path()).with("FAULT_COUNT_FILE", countFile());
        return copy;
    }
    std::string countFile() const { return m_counts.path("count"); }

    // File calls of a copy that nothing disturbs.
    int calls(const std::string& only = {}) const
    {
        startOver();
        EXPECT_EQ(program().with("FAULT_ONLY", only).run().status, 0);
        return std::stoi(test::read(countFile()));
    }

    bool isWhole() const { return test::read(m_folder.path("to/copy")) == m_bytes; }
    bool isEmpty() const { return fs::is_empty(m_folder.path("to")); }
    bool isSourceUntouched() const { return test::read(m_folder.path("source")) == m_bytes; }

    std::string m_bytes = std::string((1 << 20) + 5000, '\0');
    test::TestFolder m_folder;
    test::TestFolder m_counts;
};

} // namespace

TEST_F(FileCopyFaultTest, LeavesAWholeCopyOrNothingWhenAnyCallFails)
{
    const int count = calls();
    ASSERT_GT(count, 10);
    for (const int error : {EIO, ENOSPC, EACCES}) {
        for (int n = 1; n <= count; ++n) {
            startOver();
            const test::ProgramEnd end =
                program().at(n).with("FAULT_ERRNO", std::to_string(error)).run();
            ASSERT_TRUE(end.exited);
            EXPECT_TRUE(isSourceUntouched());
            // Times and mode may fail to be kept, and the copy stands all the same.
            EXPECT_TRUE(end.status == 0 ? isWhole() : isEmpty())
                << "call " << n << ", error " << error << ", status " << end.status;
            EXPECT_NE(end.status, 100);
        }
    }
}

TEST_F(FileCopyFaultTest, LeavesAWholeCopyOrNoneUnderTheNameWhenItIsKilled)
{
    const int count = calls();
    for (int n = 1; n <= count; ++n) {
        startOver();
        const test::ProgramEnd end = program().at(n).with("FAULT_KILL", "1").run();
        EXPECT_EQ(end.status, SIGKILL);
        EXPECT_TRUE(isSourceUntouched());
        if (fs::exists(m_folder.path("to/copy"))) {
            EXPECT_TRUE(isWhole()) << "call " << n;
        }
        Pt::removeStaleCopies(m_folder.path("to"));
        fs::remove(m_folder.path("to/copy"));
        EXPECT_TRUE(isEmpty()) << "call " << n;
    }
}

TEST_F(FileCopyFaultTest, NoticesEveryBitThatTheDiskChanges)
{
    const int count = calls("write");
    ASSERT_EQ(count, 2);
    for (int n = 1; n <= count; ++n) {
        startOver();
        const test::ProgramEnd end =
            program().at(n).with("FAULT_ONLY", "write").with("FAULT_FLIP", "1").run();
        EXPECT_EQ(end.status, kNotProven);
        EXPECT_TRUE(isEmpty());
    }
}

TEST_F(FileCopyFaultTest, GoesOnAfterAShortWriteOrRead)
{
    for (const char* call : {"write", "read"}) {
        const int count = calls(call);
        for (int n = 1; n <= count; ++n) {
            startOver();
            const test::ProgramEnd end =
                program().at(n).with("FAULT_ONLY", call).with("FAULT_SHORT", "1").run();
            EXPECT_EQ(end.status, 0) << call << " " << n;
            EXPECT_TRUE(isWhole());
        }
    }
}

TEST_F(FileCopyFaultTest, GoesOnAfterASignal)
{
    for (const char* call : {"open", "write", "read", "fsync"}) {
        const int count = calls(call);
        for (int n = 1; n <= count; ++n) {
            startOver();
            const test::ProgramEnd end = program()
                                             .at(n)
                                             .with("FAULT_ONLY", call)
                                             .with("FAULT_ERRNO", std::to_string(EINTR))
                                             .run();
            EXPECT_EQ(end.status, 0) << call << " " << n;
            EXPECT_TRUE(isWhole());
        }
    }
}

TEST_F(FileCopyFaultTest, TellsOfAFullDiskWhereverItShows)
{
    for (const char* call : {"write", "fsync", "renameat2"}) {
        startOver();
        const test::ProgramEnd end = program()
                                         .at(1)
                                         .with("FAULT_ONLY", call)
                                         .with("FAULT_ERRNO", std::to_string(ENOSPC))
                                         .run();
        EXPECT_EQ(end.status, kTargetFull) << call;
        EXPECT_TRUE(isEmpty());
    }
}

TEST_F(FileCopyFaultTest, MovesWithoutReplacingWhereTheFileSystemKnowsNoSuchMove)
{
    for (const int error : {EINVAL, ENOSYS}) {
        startOver();
        const auto limited = [&] {
            test::ShimmedProgram copy = program();
            copy.with("FAULT_ONLY", "renameat2").at(1).with("FAULT_ERRNO", std::to_string(error));
            return copy.run().status;
        };
        EXPECT_EQ(limited(), 0);
        EXPECT_TRUE(isWhole());
        EXPECT_EQ(limited(), 1 + static_cast<int>(Pt::CopyProblem::kTargetTaken));
        EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.path("to")), {}), 1);
    }
}
