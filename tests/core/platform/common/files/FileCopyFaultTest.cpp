// What stands on the disk when any one file call of a copy fails, is cut short, lies, or is the
// last of its process.

#include "platform/common/files/FileCopy.h"
#include "support/faults/FaultFixture.h"

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr int kNotProven = 1 + static_cast<int>(Pt::CopyProblem::kNotProven);
constexpr int kTargetFull = 1 + static_cast<int>(Pt::CopyProblem::kTargetFull);

class FileCopyFaultTest : public test::FaultFixture {
protected:
    FileCopyFaultTest()
    {
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            m_bytes[i] = static_cast<char>(i * 7);
        m_folder.write("source", m_bytes);
    }

    test::ShimmedProgram program(const std::string& only = {}) const
    {
        return shimmed(
            {FILE_COPY_PROBE, m_folder.path("source"), target(), "copy"}, m_folder.path(), only);
    }
    int calls(const std::string& only = {}) const { return callsOf(program(only)); }
    bool isWhole() const { return test::read(m_folder.path("to/copy")) == m_bytes; }
    bool isSourceUntouched() const { return test::read(m_folder.path("source")) == m_bytes; }

    std::string m_bytes = std::string((1 << 20) + 5000, '\0');
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
        Pt::removeStaleCopies(target());
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
        const test::ProgramEnd end = program("write").at(n).with("FAULT_FLIP", "1").run();
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
            const test::ProgramEnd end = program(call).at(n).with("FAULT_SHORT", "1").run();
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
            const test::ProgramEnd end =
                program(call).at(n).with("FAULT_ERRNO", std::to_string(EINTR)).run();
            EXPECT_EQ(end.status, 0) << call << " " << n;
            EXPECT_TRUE(isWhole());
        }
    }
}

TEST_F(FileCopyFaultTest, TellsOfAFullDiskWhereverItShows)
{
    for (const char* call : {"write", "fsync", "renameat2"}) {
        startOver();
        const test::ProgramEnd end =
            program(call).at(1).with("FAULT_ERRNO", std::to_string(ENOSPC)).run();
        EXPECT_EQ(end.status, kTargetFull) << call;
        EXPECT_TRUE(isEmpty());
    }
}

TEST_F(FileCopyFaultTest, MovesWithoutReplacingWhereTheFileSystemKnowsNoSuchMove)
{
    for (const int error : {EINVAL, ENOSYS}) {
        startOver();
        const auto limited = [&] {
            return program("renameat2")
                .at(1)
                .with("FAULT_ERRNO", std::to_string(error))
                .run()
                .status;
        };
        EXPECT_EQ(limited(), 0);
        EXPECT_TRUE(isWhole());
        EXPECT_EQ(limited(), 1 + static_cast<int>(Pt::CopyProblem::kTargetTaken));
        EXPECT_EQ(std::distance(fs::directory_iterator(target()), {}), 1);
    }
}
