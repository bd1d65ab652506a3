#include "ZQPluginSupport/writing/DngHead.h"

#include "ZQPluginSupport/original/DngFile.h"

#include <gmock/gmock.h>

namespace dng {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DngHeadTest : public testing::Test {
protected:
    DngHeadTest()
    {
        facts.active = {2, 4, 30, 44};
        facts.mosaic = {2, 2, {1, 0, 2, 1}};
        facts.black = {2, 2, {100, 101, 102, 103}};
        facts.white = 16383;
        facts.orientation = 6;
        facts.planes = {0, 1, 2};
        facts.matrix = {{1, 0, 0, 0, 1, 0, 0, 0, 1}, 21};
        facts.neutral = {0.5, 1, 0.75};
        facts.make = "Maker";
        facts.model = "Model 1";
        plan.facts = &facts;
        plan.width = 48;
        plan.height = 32;
        plan.tiles = TileSize{16, 16};
        plan.record = "record";
    }

    const TiffFile& head()
    {
        bytes = makeDngHead(plan);
        source.emplace(
            std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
        file = openDng(*source);
        EXPECT_TRUE(file.has_value());
        return *file;
    }
    std::vector<std::uint32_t> numbers(const TiffDirectory& directory, std::uint16_t tag) const
    {
        const TiffEntry* const entry = directory.find(tag);
        return entry ? file->numbers(*entry) : std::vector<std::uint32_t>();
    }
    std::string text(std::uint16_t tag) const
    {
        const TiffEntry* const entry = file->first().find(tag);
        return entry ? file->text(*entry, 1000).value_or("") : "";
    }

    SensorFacts facts;
    HeadPlan plan;
    std::string bytes;
    std::optional<MemorySource> source;
    std::optional<TiffFile> file;
};

TEST_F(DngHeadTest, SaysWhereThePictureLies)
{
    const TiffDirectory& raw = head().first();
    EXPECT_THAT(numbers(raw, 256), ElementsAre(48));
    EXPECT_THAT(numbers(raw, 257), ElementsAre(32));
    EXPECT_THAT(numbers(raw, 50829), ElementsAre(2, 4, 30, 44));
    EXPECT_THAT(numbers(raw, 254), ElementsAre(0));
}

TEST_F(DngHeadTest, SaysWhatTheValuesAre)
{
    const TiffDirectory& raw = head().first();
    EXPECT_THAT(numbers(raw, 262), ElementsAre(32803));
    EXPECT_THAT(numbers(raw, 259), ElementsAre(7));
    EXPECT_THAT(numbers(raw, 33421), ElementsAre(2, 2));
    EXPECT_THAT(numbers(raw, 33422), ElementsAre(1, 0, 2, 1));
    EXPECT_THAT(numbers(raw, 50717), ElementsAre(16383));
    EXPECT_THAT(numbers(raw, 50713), ElementsAre(2, 2));
}

TEST_F(DngHeadTest, SaysWhoseCameraItWas)
{
    head();
    EXPECT_EQ(text(50708), std::string("Maker Model 1\0", 14));
    EXPECT_THAT(numbers(file->first(), 274), ElementsAre(6));
    facts.model = "Maker Model 1";
    head();
    EXPECT_EQ(text(50708), std::string("Maker Model 1\0", 14)); // not twice
}

TEST_F(DngHeadTest, AsksForReadersThatKnowTheMosaic)
{
    EXPECT_THAT(numbers(head().first(), 50707), ElementsAre(1, 1, 0, 0));
    facts.mosaic = {6, 6, std::vector<std::uint8_t>(36, 1)};
    EXPECT_THAT(numbers(head().first(), 50707), ElementsAre(1, 4, 0, 0));
}

TEST_F(DngHeadTest, HasOneStripWithoutCompression)
{
    plan.tiles.reset();
    const TiffDirectory& raw = head().first();
    EXPECT_THAT(numbers(raw, 259), ElementsAre(1));
    EXPECT_THAT(numbers(raw, 278), ElementsAre(32));
    EXPECT_EQ(raw.find(322), nullptr);
}

TEST_F(DngHeadTest, HasNoMosaicWhereTheColoursAreWhole)
{
    facts.mosaic = {};
    facts.black = {1, 1, {0}};
    plan.samplesPerPixel = 3;
    const TiffDirectory& raw = head().first();
    EXPECT_THAT(numbers(raw, 262), ElementsAre(34892));
    EXPECT_THAT(numbers(raw, 258), ElementsAre(16, 16, 16));
    EXPECT_THAT(numbers(raw, 50717), ElementsAre(16383, 16383, 16383));
    EXPECT_THAT(numbers(raw, 33422), IsEmpty());
}

TEST_F(DngHeadTest, HasNoColoursWhereThereAreNone)
{
    facts.mosaic = {};
    facts.planes = {0};
    const TiffDirectory& raw = head().first();
    EXPECT_THAT(numbers(raw, 277), ElementsAre(1));
    EXPECT_EQ(raw.find(50721), nullptr);
    EXPECT_EQ(raw.find(50728), nullptr);
}

TEST_F(DngHeadTest, PutsTheRawPictureBelowTheThumbnail)
{
    const RenderedPicture thumbnail{2, 1, {1, 2, 3, 4, 5, 6}};
    plan.preview = PreviewFacts{20, 10, &thumbnail};
    const TiffFile& made = head();
    EXPECT_THAT(numbers(made.first(), 254), ElementsAre(1));
    EXPECT_THAT(numbers(made.first(), 256), ElementsAre(2));
    const auto below = made.below(made.first());
    ASSERT_EQ(below.size(), 2U);
    EXPECT_THAT(numbers(below[0], 262), ElementsAre(32803));
    EXPECT_THAT(numbers(below[1], 256), ElementsAre(20));
    EXPECT_THAT(numbers(below[1], 262), ElementsAre(6));
}

TEST_F(DngHeadTest, KnowsTheOriginal)
{
    plan.originalName = "A.CR2";
    head();
    EXPECT_EQ(text(kTagPrivateData), "record");
    EXPECT_EQ(file->first().find(kTagOriginalData), nullptr);
    EXPECT_EQ(file->first().find(kTagOriginalName), nullptr);
    plan.embedsOriginal = true;
    head();
    EXPECT_NE(file->first().find(kTagOriginalData), nullptr);
    EXPECT_EQ(originalNameOf(*file), "A.CR2");
}

} // namespace
} // namespace dng
