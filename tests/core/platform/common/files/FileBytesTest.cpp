#include "platform/common/files/FileBytes.h"

#include "platform/common/services/OwnedDescriptor.h"
#include "support/TestFolder.h"

#include <array>
#include <cstring>
#include <span>

#include <fcntl.h>
#include <unistd.h>

namespace test {
namespace {

std::string textOf(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

class FileBytesTest : public testing::Test {
protected:
    Pt::OwnedDescriptor open(const std::string& bytes)
    {
        return Pt::OwnedDescriptor(::open(folder.write("file", bytes).c_str(), O_RDWR));
    }

    TestFolder folder;
    std::error_code error;
};

TEST_F(FileBytesTest, AreReadFromTheirPlace)
{
    const auto file = open("0123456789");
    std::array<std::byte, 4> bytes{};
    EXPECT_FALSE(Pt::readAt(file.get(), 3, bytes));
    EXPECT_EQ(textOf(bytes), "3456");
}

TEST_F(FileBytesTest, AreNotReadBeyondTheEnd)
{
    const auto file = open("0123456789");
    std::array<std::byte, 4> bytes{};
    EXPECT_EQ(Pt::readAt(file.get(), 7, bytes), std::errc::io_error);
}

TEST_F(FileBytesTest, AreWrittenAtTheirPlace)
{
    const auto file = open("0123456789");
    const std::string text = "xy";
    EXPECT_FALSE(Pt::writeAt(file.get(), 9, std::as_bytes(std::span(text.data(), text.size()))));
    EXPECT_FALSE(Pt::flushAndForget(file.get()));
    EXPECT_EQ(read(folder.path("file")), "012345678xy");
    EXPECT_EQ(Pt::sizeOfOpenFile(file.get()), 11U);
}

TEST_F(FileBytesTest, FailWithTheSystemsWord)
{
    EXPECT_EQ(Pt::writeAt(-1, 0, std::array<std::byte, 1>{}), std::errc::bad_file_descriptor);
    EXPECT_EQ(Pt::flushAndForget(-1), std::errc::bad_file_descriptor);
    EXPECT_FALSE(Pt::sizeOfOpenFile(-1));
    EXPECT_FALSE(Pt::MappedFile::map(-1, error));
    EXPECT_TRUE(error);
}

TEST_F(FileBytesTest, AreMemoryWhileTheyAreMapped)
{
    const auto file = open("0123456789");
    auto mapped = Pt::MappedFile::map(file.get(), error);
    ASSERT_TRUE(mapped) << error.message();
    Pt::MappedFile moved = std::move(*mapped);
    EXPECT_EQ(textOf(moved.bytes()), "0123456789");
    EXPECT_TRUE(mapped->bytes().empty());
}

TEST_F(FileBytesTest, AreNoMemoryInAnEmptyFile)
{
    const auto file = open("");
    const auto mapped = Pt::MappedFile::map(file.get(), error);
    ASSERT_TRUE(mapped);
    EXPECT_TRUE(mapped->bytes().empty());
}

} // namespace
} // namespace test
