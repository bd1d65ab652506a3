// What stands on the disk when any one file call of a conversion fails, is cut short, lies, or is
// the last of its process.
#include "ZQPluginSupport/ZQPluginSupport.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"
#include "platform/common/files/FileCopy.h"
#include "support/faults/FaultFixture.h"

#include <cerrno>
#include <csignal>

namespace test {
namespace {

namespace fs = std::filesystem;

class ConversionFaultTest : public FaultFixture {
protected:
    ConversionFaultTest()
    {
        EXPECT_EQ(program().run().status, kZQPluginDone);
        m_whole = read(dng());
        EXPECT_GT(m_whole.size(), 10'000U);
    }

    std::string dng() const { return m_folder.path("to/A.dng"); }
    ShimmedProgram program(const std::string& only = {}) const
    {
        return shimmed({CONVERSION_PROBE, m_raw, target()}, target(), only);
    }
    int calls(const std::string& only = {}) const { return callsOf(program(only)); }
    bool isWhole() const { return read(dng()) == m_whole; }

    const std::string m_raw = m_folder.write("A.CR2", tinyRaw());
    std::string m_whole;
};

TEST_F(ConversionFaultTest, LeavesAWholeDngOrNothingWhenAnyCallFails)
{
    const int count = calls();
    ASSERT_GT(count, 6);
    for (const int error : {EIO, ENOSPC})
        for (int n = 1; n <= count; ++n) {
            startOver();
            const auto end = program().at(n).with("FAULT_ERRNO", std::to_string(error)).run();
            ASSERT_TRUE(end.exited);
            EXPECT_TRUE(end.status == kZQPluginDone ? isWhole() : isWhole() || isEmpty())
                << "call " << n << ", error " << error << ", result " << end.status;
        }
}

TEST_F(ConversionFaultTest, LeavesAWholeDngOrNoneWhenItIsKilled)
{
    const int count = calls();
    for (int n = 1; n <= count; ++n) {
        startOver();
        EXPECT_EQ(program().at(n).with("FAULT_KILL", "1").run().status, SIGKILL);
        if (fs::exists(dng())) {
            EXPECT_TRUE(isWhole()) << "call " << n;
        }
        Pt::removeStaleCopies(target());
        fs::remove(dng());
        EXPECT_TRUE(isEmpty()) << "call " << n;
    }
}

TEST_F(ConversionFaultTest, GoesOnWhenADiskTakesLessAtATime)
{
    const int count = calls("pwrite");
    for (int n = 1; n <= count; ++n) {
        startOver();
        EXPECT_EQ(program("pwrite").at(n).with("FAULT_SHORT", "1").run().status, kZQPluginDone);
        EXPECT_TRUE(isWhole()) << "call " << n;
    }
}

TEST_F(ConversionFaultTest, NoticesEveryBitThatTheDiskChanges)
{
    const int count = calls("pwrite");
    ASSERT_GT(count, 2);
    for (int n = 1; n <= count; ++n) {
        startOver();
        EXPECT_EQ(
            program("pwrite").at(n).with("FAULT_FLIP", "1").run().status, kZQPluginNotVerified)
            << "call " << n;
        EXPECT_TRUE(isEmpty());
    }
}

} // namespace
} // namespace test
