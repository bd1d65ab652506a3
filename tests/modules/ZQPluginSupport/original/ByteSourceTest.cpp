#include "ZQPluginSupport/original/ByteSource.h"

#include "core/platform/support/FileFixture.h"
#include "modules/ZQPluginSupport/original/support/MadeDng.h"
#include "platform/common/files/RegularFile.h"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace {

using dng::ByteSource;
using dng::FileSource;
using dng::MemorySource;

using ByteSourceTest = test::FileFixture;

std::string readFrom(const ByteSource& source, std::uint64_t position, std::size_t count)
{
    std::vector<std::uint8_t> bytes(count);
    return source.read(position, bytes) ? std::string(bytes.begin(), bytes.end()) : "refused";
}

void expectBounds(const ByteSource& source)
{
    EXPECT_EQ(source.size(), 5U);
    EXPECT_EQ(readFrom(source, 0, 5), "abcde");
    EXPECT_EQ(readFrom(source, 3, 2), "de");
    EXPECT_EQ(readFrom(source, 5, 0), "");
    EXPECT_EQ(readFrom(source, 4, 2), "refused");
    EXPECT_EQ(readFrom(source, 6, 0), "refused");
    EXPECT_EQ(readFrom(source, ~std::uint64_t{0}, 2), "refused");
    EXPECT_EQ(readFrom(source, 0, 6), "refused");
}

} // namespace

TEST_F(ByteSourceTest, ReadsWithinBoundsFromMemory)
{
    const std::string text = "abcde";
    expectBounds(MemorySource(test::bytesOf(text)));
}

TEST_F(ByteSourceTest, ReadsWithinBoundsFromAFileAndLeavesItsPosition)
{
    put("a", "abcde");
    std::error_code error;
    const auto file = Pt::openRegularFile(path("a"), error);
    ASSERT_TRUE(file);
    expectBounds(*FileSource::of(file->descriptor.get()));
    EXPECT_EQ(::lseek(file->descriptor.get(), 0, SEEK_CUR), 0);
}

TEST_F(ByteSourceTest, RefusesWhatAFileHasNoMore)
{
    put("a", "abcde");
    std::error_code error;
    const auto file = Pt::openRegularFile(path("a"), error);
    const auto source = FileSource::of(file->descriptor.get());
    std::filesystem::resize_file(path("a"), 3);
    EXPECT_EQ(readFrom(*source, 0, 3), "abc");
    EXPECT_EQ(readFrom(*source, 0, 5), "refused");
}

TEST_F(ByteSourceTest, IsNothingForAPipeAFolderOrNoDescriptor)
{
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe(ends), 0);
    const Pt::OwnedDescriptor in(ends[0]);
    const Pt::OwnedDescriptor out(ends[1]);
    EXPECT_FALSE(FileSource::of(in.get()));
    const Pt::OwnedDescriptor folder(::open(path("").c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_TRUE(folder.isOpen());
    EXPECT_FALSE(FileSource::of(folder.get()));
    EXPECT_FALSE(FileSource::of(-1));
}
