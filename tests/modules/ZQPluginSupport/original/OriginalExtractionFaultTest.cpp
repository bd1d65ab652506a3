// What stands on the disk when any one file call of an extraction fails, is cut short, lies, or is
// the last of its process.

#include "ZQPluginSupport/original/OriginalExtraction.h"
#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "platform/common/files/FileCopy.h"
#include "support/NoiseSource.h"
#include "support/faults/FaultFixture.h"

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

using dng::ExtractOutcome;

class OriginalExtractionFaultTest : public test::FaultFixture {
protected:
    OriginalExtractionFaultTest()
    {
        m_folder.write("a.dng",
            test::MadeDng{.record = test::recordOf("a.CRW", m_raw), .value = test::embedded(m_raw)}
                .bytes());
    }

    test::ShimmedProgram program(const std::string& only = {}) const
    {
        return shimmed({EXTRACTION_PROBE, m_folder.path("a.dng"), target()}, m_folder.path(), only);
    }
    int calls(const std::string& only = {}) const { return callsOf(program(only)); }
    bool isWhole() const { return test::read(m_folder.path("to/a.CRW")) == m_raw; }

    const std::string m_raw = tests::NoiseSource(1).bytes(150'000);
};

} // namespace

TEST_F(OriginalExtractionFaultTest, LeavesAWholeFileOrNothingWhenAnyCallFails)
{
    const int count = calls();
    ASSERT_GT(count, 8);
    int failures = 0;
    for (const int error : {EIO, ENOSPC})
        for (int n = 1; n <= count; ++n) {
            startOver();
            const auto end = program().at(n).with("FAULT_ERRNO", std::to_string(error)).run();
            ASSERT_TRUE(end.exited);
            failures += end.status == 0 ? 0 : 1;
            EXPECT_TRUE(end.status == 0 ? isWhole() : isWhole() || isEmpty())
                << "call " << n << ", error " << error << ", status " << end.status;
        }
    EXPECT_GT(failures, count);
}

TEST_F(OriginalExtractionFaultTest, LeavesAWholeFileOrNoneUnderTheNameWhenItIsKilled)
{
    const int count = calls();
    for (int n = 1; n <= count; ++n) {
        startOver();
        EXPECT_EQ(program().at(n).with("FAULT_KILL", "1").run().status, SIGKILL);
        if (fs::exists(m_folder.path("to/a.CRW"))) {
            EXPECT_TRUE(isWhole()) << "call " << n;
        }
        Pt::removeStaleCopies(target());
        fs::remove(m_folder.path("to/a.CRW"));
        EXPECT_TRUE(isEmpty()) << "call " << n;
    }
}

TEST_F(OriginalExtractionFaultTest, NoticesEveryBitThatTheDiskChanges)
{
    const int count = calls("write");
    ASSERT_EQ(count, 3) << "one for each block";
    for (int n = 1; n <= count; ++n) {
        startOver();
        const auto end = program("write").at(n).with("FAULT_FLIP", "1").run();
        EXPECT_EQ(end.status, static_cast<int>(ExtractOutcome::kCannotWrite));
        EXPECT_TRUE(isEmpty());
    }
}

TEST_F(OriginalExtractionFaultTest, TellsOfAFullDiskWhereverItShows)
{
    for (const char* call : {"write", "fsync", "renameat2"}) {
        startOver();
        const auto end = program(call).at(1).with("FAULT_ERRNO", std::to_string(ENOSPC)).run();
        EXPECT_EQ(end.status, static_cast<int>(ExtractOutcome::kNoSpace)) << call;
        EXPECT_TRUE(isEmpty());
    }
}
