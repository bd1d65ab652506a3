#include "ZQPluginSupport/writing/DngFileWriter.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/original/DngFile.h"
#include "ZQPluginSupport/writing/DngHead.h"
#include "platform/common/files/NewFile.h"
#include "platform/common/services/OwnedDescriptor.h"
#include "support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>

namespace test {
namespace {

using dng::DngFileWriter;

class DngFileWriterTest : public testing::Test {
protected:
    DngFileWriterTest()
    {
        facts.active = {0, 0, 32, 48};
        facts.mosaic = {2, 2, {0, 1, 1, 2}};
        facts.black = {1, 1, {0}};
        facts.white = 1000;
        facts.planes = {0, 1, 2};
        facts.neutral = {1, 1, 1};
        plan.facts = &facts;
        plan.width = 48;
        plan.height = 32;
        plan.record = "record";
        plan.originalName = "A.CR2";
        file = Pt::NewFile::make(folder.path(), 0600, error);
    }

    std::string written()
    {
        EXPECT_FALSE(file->place(folder.path("file")));
        return read(folder.path("file"));
    }

    static std::span<const std::byte> partOf(const std::string& text)
    {
        return std::as_bytes(std::span(text.data(), text.size()));
    }
    static std::span<const std::uint8_t> octetsOf(const std::string& text)
    {
        return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
    }

    // What a reader finds by the tags of places and sizes.
    static std::string valueAt(const std::string& bytes,
        const dng::TiffFile& tiff,
        const dng::TiffDirectory& directory,
        std::uint16_t places,
        std::uint16_t sizes)
    {
        std::string all;
        const auto at = tiff.numbers(*directory.find(places));
        const auto lengths = tiff.numbers(*directory.find(sizes));
        for (std::size_t i = 0; i < at.size(); ++i)
            all += bytes.substr(at[i], lengths[i]) + ';';
        return all;
    }

    TestFolder folder;
    std::error_code error;
    std::optional<Pt::NewFile> file;
    dng::SensorFacts facts;
    dng::HeadPlan plan;
};

TEST_F(DngFileWriterTest, PutsEachPartWhereItsTagsSay)
{
    plan.tiles = dng::TileSize{16, 16};
    const dng::RenderedPicture thumbnail{2, 1, {1, 2, 3, 4, 5, 6}};
    plan.preview = dng::PreviewFacts{20, 10, &thumbnail};
    plan.embedsOriginal = true;
    DngFileWriter writer(file->descriptor(), dng::makeDngHead(plan));
    for (const char* const tile : {"one", "two", "three", "four", "five", "six"})
        writer.addRawPart(partOf(tile));
    writer.addPreview(octetsOf("preview"));
    writer.addOriginalPiece(octetsOf("origi"));
    writer.addOriginalPiece(octetsOf("nal"));
    writer.finish();

    const std::string bytes = written();
    const dng::MemorySource source(octetsOf(bytes));
    const auto tiff = dng::openDng(source);
    ASSERT_TRUE(tiff);
    const auto below = tiff->below(tiff->first());
    ASSERT_EQ(below.size(), 2U);
    EXPECT_EQ(valueAt(bytes, *tiff, below[0], 324, 325), "one;two;three;four;five;six;");
    EXPECT_EQ(valueAt(bytes, *tiff, below[1], 273, 279), "preview;");
    EXPECT_EQ(tiff->text(*tiff->first().find(dng::kTagOriginalData), 100), "original");
    EXPECT_EQ(tiff->text(*tiff->first().find(dng::kTagPrivateData), 100), "record");
}

TEST_F(DngFileWriterTest, PutsAStripWhereItsTagsSay)
{
    DngFileWriter writer(file->descriptor(), dng::makeDngHead(plan));
    writer.addRawPart(partOf("values"));
    writer.finish();
    const std::string bytes = written();
    const dng::MemorySource source(octetsOf(bytes));
    const auto tiff = dng::openDng(source);
    ASSERT_TRUE(tiff);
    EXPECT_EQ(valueAt(bytes, *tiff, tiff->first(), 273, 279), "values;");
}

TEST_F(DngFileWriterTest, KnowsWhatItWroteToTheLastBit)
{
    DngFileWriter writer(file->descriptor(), dng::makeDngHead(plan));
    writer.addRawPart(partOf("values"));
    const dng::WrittenBytes known = writer.finish();
    std::string bytes = written();
    EXPECT_TRUE(dng::holds(partOf(bytes), known));
    EXPECT_FALSE(dng::holds(partOf(bytes + 'x'), known));
    EXPECT_FALSE(dng::holds(partOf(bytes.substr(1)), known));
    EXPECT_FALSE(dng::holds(partOf(""), known));
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        if (place >= known.headSize && place < known.partsBegin)
            continue; // nothing is there
        bytes[place] ^= 1;
        EXPECT_FALSE(dng::holds(partOf(bytes), known)) << place;
        bytes[place] ^= 1;
    }
}

TEST_F(DngFileWriterTest, DoesNotFinishWithoutAllParts)
{
    plan.tiles = dng::TileSize{16, 16};
    DngFileWriter writer(file->descriptor(), dng::makeDngHead(plan));
    writer.addRawPart(partOf("one"));
    EXPECT_THROW(writer.finish(), dng::ConversionFailure);
}

TEST_F(DngFileWriterTest, SaysThatTheDiskIsFull)
{
    const Pt::OwnedDescriptor full(::open("/dev/full", O_RDWR | O_CLOEXEC));
    DngFileWriter writer(full.get(), dng::makeDngHead(plan));
    try {
        writer.addRawPart(partOf("values"));
        FAIL() << "a full disk took it";
    } catch (const dng::ConversionFailure& failure) {
        EXPECT_EQ(failure.reason(), kZQPluginNoSpace);
    }
}

} // namespace
} // namespace test
