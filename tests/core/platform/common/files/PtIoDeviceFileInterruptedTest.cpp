// Transfers that a signal breaks off: this program stands in for the calls that read and write.

#include "core/platform/TestFolder.h"
#include "core/platform/WideLiteral.h"
#include "core/platform/support/IoDevices.h"
#include "platform/common/files/PtIoDeviceFile.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local int tInterruptions = 0;

bool isInterrupted()
{
    if (tInterruptions == 0)
        return false;
    --tInterruptions;
    errno = EINTR;
    return true;
}

} // namespace

extern "C" ssize_t read(int descriptor, void* bytes, std::size_t count)
{
    return isInterrupted() ? -1 : ::syscall(SYS_read, descriptor, bytes, count);
}

extern "C" ssize_t write(int descriptor, void const* bytes, std::size_t count)
{
    return isInterrupted() ? -1 : ::syscall(SYS_write, descriptor, bytes, count);
}

TEST(PtIoDeviceFileInterruptedTest, TransfersAgainWhenASignalComes)
{
    test::TestFolder const folder;
    test::TellingCompletion::Record told;
    auto const request = [&](std::string& bytes) {
        return Pt::SmartPointer<Pt::IoRequest>(
            new Pt::IoRequest(new test::TellingCompletion(told, "it"),
                bytes.data(),
                static_cast<std::uint32_t>(bytes.size())));
    };
    PtIoDeviceFile::Pointer const file = PtIoDeviceFile::Create(
        test::wide(folder.write("file", "012345")).c_str(), kPtIoOpenExisting);
    std::string bytes(3, '.');
    tInterruptions = 2;
    file->read(*request(bytes));
    EXPECT_EQ(tInterruptions, 0);
    EXPECT_EQ(bytes, "012");
    tInterruptions = 3;
    file->write(*request(bytes));
    EXPECT_EQ(tInterruptions, 0);
    EXPECT_EQ(test::read(folder.path("file")), "012012");
    EXPECT_THAT(told.all(), testing::ElementsAre("completed it 3", "completed it 3"));
}
