// Transfers that a signal breaks off: this program stands in for the calls that read and write.

#include "core/platform/WideLiteral.h"
#include "core/platform/support/IoDevices.h"
#include "platform/common/devices/PtIoDeviceFile.h"
#include "support/TestFolder.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local int gInterruptions = 0;

bool isInterrupted()
{
    if (gInterruptions == 0)
        return false;
    --gInterruptions;
    errno = EINTR;
    return true;
}

} // namespace

extern "C" ssize_t read(int descriptor, void* bytes, std::size_t count)
{
    return isInterrupted() ? -1 : ::syscall(SYS_read, descriptor, bytes, count);
}

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t count)
{
    return isInterrupted() ? -1 : ::syscall(SYS_write, descriptor, bytes, count);
}

TEST(PtIoDeviceFileInterruptedTest, TransfersAgainWhenASignalComes)
{
    const test::TestFolder folder;
    test::TellingCompletion::Record told;
    const auto request = [&](std::string& bytes) {
        return Pt::SmartPointer<Pt::IoRequest>(
            new Pt::IoRequest(new test::TellingCompletion(told, "it"),
                bytes.data(),
                static_cast<std::uint32_t>(bytes.size())));
    };
    const PtIoDeviceFile::Pointer file = PtIoDeviceFile::Create(
        test::wide(folder.write("file", "012345")).c_str(), kPtIoOpenExisting);
    std::string bytes(3, '.');
    gInterruptions = 2;
    file->read(*request(bytes));
    EXPECT_EQ(gInterruptions, 0);
    EXPECT_EQ(bytes, "012");
    gInterruptions = 3;
    file->write(*request(bytes));
    EXPECT_EQ(gInterruptions, 0);
    EXPECT_EQ(test::read(folder.path("file")), "012012");
    EXPECT_THAT(told.all(), testing::ElementsAre("completed it 3", "completed it 3"));
}
