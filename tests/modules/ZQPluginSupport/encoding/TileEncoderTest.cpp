#include "ZQPluginSupport/encoding/TileEncoder.h"

#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"
#include "modules/ZQPluginSupport/encoding/support/PlainDecoder.h"
#include "modules/ZQPluginSupport/encoding/support/Samples.h"

#include <gtest/gtest.h>

namespace {

using dng::TileCoding;
using dng::TileEncoder;
using dng::TileSize;
using test::PlainDecoder;
using test::Samples;

using Row = std::vector<std::uint16_t>;

std::vector<dng::EncodedTile> encoded(const dng::Frame& frame,
    const TileSize& size,
    const TileCoding& coding,
    unsigned int threads = 1)
{
    dng::WorkerThreads workers(threads);
    return TileEncoder(workers).encode(frame, size, coding);
}

Row rowOf(const PlainDecoder& tile, std::size_t y)
{
    const auto begin = tile.samples.begin() + static_cast<std::ptrdiff_t>(y * tile.columns);
    return {begin, begin + tile.columns};
}

// One row of a frame of one tile, as it stands in the tile.
Row filledRow(const Row& row, std::uint32_t tileWidth, const TileCoding& coding)
{
    Samples samples(static_cast<std::uint32_t>(row.size()), 1, 8);
    samples.fill([&](auto x, auto) { return row[x]; });
    const auto tiles = encoded(samples.frame(), {tileWidth, 1}, coding);
    EXPECT_EQ(tiles.size(), 1U);
    return rowOf(PlainDecoder(tiles.at(0)), 0);
}

// Puts the tiles together again.
void expectFrame(const Samples& samples, const TileSize& size, const TileCoding& coding)
{
    const auto frame = samples.frame();
    const auto tiles = encoded(frame, size, coding, 2);
    const std::size_t across = (frame.width + size.width - 1) / size.width;
    ASSERT_EQ(tiles.size(), across * ((frame.height + size.height - 1) / size.height));
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        const PlainDecoder tile(tiles[i]);
        ASSERT_EQ(tile.components, coding.isMosaic ? 2U : 1U);
        ASSERT_EQ(tile.columns, size.width);
        ASSERT_EQ(tile.rows, size.height);
        const std::size_t left = i % across * size.width;
        const std::size_t top = i / across * size.height;
        for (std::size_t y = top; y < std::min<std::size_t>(top + size.height, frame.height); ++y)
            for (std::size_t x = left; x < std::min<std::size_t>(left + size.width, frame.width);
                 ++x)
                wrong += tile.samples[(y - top) * size.width + x - left] != samples.at(x, y);
    }
    EXPECT_EQ(wrong, 0U);
}

} // namespace

TEST(TileEncoderTest, CutsAFrameOfAnySizeIntoTiles)
{
    for (const std::uint32_t width : {1U, 15U, 16U, 17U, 33U, 50U})
        for (const std::uint32_t height : {1U, 16U, 31U, 32U, 49U})
            for (const bool isMosaic : {false, true}) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << isMosaic);
                expectFrame(
                    Samples(width, height, 14), {16, 32}, {.isMosaic = isMosaic, .precision = 14});
            }
}

TEST(TileEncoderTest, FillsAMosaicWithColumnsOfTheSamePhase)
{
    EXPECT_EQ(
        filledRow({1, 2, 3, 4, 5}, 10, {.isMosaic = true}), (Row{1, 2, 3, 4, 5, 4, 5, 4, 5, 4}));
    EXPECT_EQ(filledRow({1, 2, 3, 4, 5, 6}, 10, {.isMosaic = true, .repeat = 2}),
        (Row{1, 2, 3, 4, 5, 6, 5, 6, 5, 6}));
    EXPECT_EQ(filledRow({1, 2, 3, 4, 5, 6, 7}, 16, {.isMosaic = true, .repeat = 6}),
        (Row{1, 2, 3, 4, 5, 6, 7, 2, 3, 4, 5, 6, 7, 2, 3, 4}));
}

TEST(TileEncoderTest, FillsWhatIsNoMosaicWithItsLastColumn)
{
    EXPECT_EQ(filledRow({1, 2, 3}, 6, {}), (Row{1, 2, 3, 3, 3, 3}));
}

TEST(TileEncoderTest, FillsAFrameThatIsNarrowerThanTheMosaic)
{
    EXPECT_EQ(filledRow({7}, 4, {.isMosaic = true}), (Row{7, 7, 7, 7}));
    EXPECT_EQ(
        filledRow({7, 8, 9}, 8, {.isMosaic = true, .repeat = 6}), (Row{7, 8, 9, 7, 8, 9, 7, 8}));
}

TEST(TileEncoderTest, FillsRowsAsColumns)
{
    Samples samples(16, 7, 8);
    samples.fill([](auto, auto y) { return y + 1; });
    const PlainDecoder six(
        encoded(samples.frame(), {16, 12}, {.isMosaic = true, .repeat = 6}).at(0));
    const PlainDecoder two(encoded(samples.frame(), {16, 12}, {.isMosaic = true}).at(0));
    const PlainDecoder one(encoded(samples.frame(), {16, 12}, {}).at(0));
    EXPECT_EQ(rowOf(six, 7), Row(16, 2));
    EXPECT_EQ(rowOf(six, 11), Row(16, 6));
    EXPECT_EQ(rowOf(two, 7), Row(16, 6));
    EXPECT_EQ(rowOf(two, 8), Row(16, 7));
    EXPECT_EQ(rowOf(one, 7), Row(16, 7));
}

TEST(TileEncoderTest, FillsRowsBelowTheFrameWithTheFirstColumnsOfTheTile)
{
    Samples samples(27, 12, 8);
    samples.fill([](auto x, auto y) { return x + 30 * (y == 7); });
    const auto below = [&](const TileCoding& coding, std::size_t tile) {
        return rowOf(PlainDecoder(encoded(samples.frame(), {16, 16}, coding).at(tile)), 13);
    };
    const Row two = below({.isMosaic = true}, 0);
    const Row six = below({.isMosaic = true, .repeat = 6}, 0);
    EXPECT_EQ(two, (Row{0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(six, (Row{30, 31, 32, 33, 34, 35, 30, 31, 32, 33, 34, 35, 30, 31, 32, 33}))
        << "the row six above";
    EXPECT_EQ(below({}, 0), Row(16, 0));
    EXPECT_EQ(below({}, 1), Row(16, 16));
    EXPECT_EQ(below({.isMosaic = true}, 1),
        (Row{16, 17, 16, 17, 16, 17, 16, 17, 16, 17, 16, 17, 16, 17, 16, 17}));
    samples.fill([](auto x, auto) { return x; });
    const PlainDecoder narrow(
        encoded({samples.view().samples, 32, 17, 12, 1}, {16, 16}, {.isMosaic = true}).at(1));
    EXPECT_EQ(
        rowOf(narrow, 13), (Row{16, 15, 16, 15, 16, 15, 16, 15, 16, 15, 16, 15, 16, 15, 16, 15}))
        << "one column of it is in the frame";
}

TEST(TileEncoderTest, FillsTheTilesBehindTheFirst)
{
    Samples samples(21, 1, 8);
    samples.fill([](auto x, auto) { return x; });
    const auto tiles = encoded(samples.frame(), {16, 1}, {.isMosaic = true, .repeat = 6});
    ASSERT_EQ(tiles.size(), 2U);
    EXPECT_EQ(rowOf(PlainDecoder(tiles[1]), 0),
        (Row{16, 17, 18, 19, 20, 15, 16, 17, 18, 19, 20, 15, 16, 17, 18, 19}));
}

TEST(TileEncoderTest, KeepsThreeSamplesOfAPixelTogether)
{
    Samples samples(3 * 3, 1, 8);
    samples.fill([](auto x, auto) { return x + 1; });
    const PlainDecoder tile(encoded(samples.frame(3), {5, 1}, {}).at(0));
    EXPECT_EQ(tile.components, 3U);
    EXPECT_EQ(tile.samples, (Row{1, 2, 3, 4, 5, 6, 7, 8, 9, 7, 8, 9, 7, 8, 9}));
}

TEST(TileEncoderTest, WritesSamplesAsTheyAreWithoutCompression)
{
    Samples samples(3, 1, 8);
    samples.fill([](auto x, auto) { return 0x0102 + 0x0101 * x; });
    const auto tiles = encoded(samples.frame(), {2, 2}, {.isCompressed = false});
    ASSERT_EQ(tiles.size(), 2U);
    EXPECT_EQ(tiles[0], (dng::EncodedTile{2, 1, 3, 2, 2, 1, 2, 1}));
    EXPECT_EQ(tiles[1], (dng::EncodedTile{4, 3, 4, 3, 4, 3, 4, 3}));
}

TEST(TileEncoderTest, WritesTheSameBytesOnAnyNumberOfThreads)
{
    const Samples samples(701, 403, 14);
    const TileCoding coding{.isMosaic = true, .precision = 14};
    const auto expected = encoded(samples.frame(), {64, 48}, coding, 1);
    for (const unsigned int threads : {2U, 3U, 7U})
        EXPECT_EQ(encoded(samples.frame(), {64, 48}, coding, threads), expected);
}

TEST(TileEncoderTest, CarriesTheFailureOfATileToTheCaller)
{
    Samples samples(256, 256, 12);
    samples.at(200, 200) = 4096;
    dng::WorkerThreads workers(4);
    TileEncoder encoder(workers);
    const TileCoding coding{.isMosaic = true, .precision = 12};
    EXPECT_THROW(encoder.encode(samples.frame(), {16, 16}, coding), std::invalid_argument);
    samples.at(200, 200) = 4095;
    EXPECT_EQ(encoder.encode(samples.frame(), {16, 16}, coding).size(), 256U);
}

TEST(TileEncoderTest, RefusesWhatItCannotCut)
{
    const Samples samples(30, 4, 8);
    const auto refuses =
        [](const dng::Frame& frame, const TileSize& size, const TileCoding& coding) {
            try {
                encoded(frame, size, coding);
                return false;
            } catch (const std::invalid_argument&) {
                return true;
            }
        };
    EXPECT_FALSE(refuses(samples.frame(), {16, 16}, {}));
    EXPECT_TRUE(refuses(samples.frame(), {0, 16}, {}));
    EXPECT_TRUE(refuses(samples.frame(), {16, 0}, {}));
    EXPECT_TRUE(refuses(samples.frame(), {65536, 16}, {}));
    EXPECT_TRUE(refuses(samples.frame(), {15, 16}, {.isMosaic = true})) << "half a pair of columns";
    EXPECT_TRUE(refuses(samples.frame(3), {16, 16}, {.isMosaic = true}));
    EXPECT_TRUE(refuses(samples.frame(2), {16, 16}, {}));
    EXPECT_TRUE(refuses(samples.frame(), {16, 16}, {.repeat = 3}));
    EXPECT_TRUE(refuses(samples.frame(), {16, 16}, {.precision = 7}));
    auto frame = samples.frame();
    frame.width = 36; // one more than the pitch
    EXPECT_TRUE(refuses(frame, {16, 16}, {}));
    frame.width = 0;
    EXPECT_TRUE(refuses(frame, {16, 16}, {}));
}

TEST(TileEncoderTest, ChoosesTilesThatFitTheFrame)
{
    const auto excess = [](std::uint32_t length, std::uint32_t side) {
        return (length + side - 1) / side * side - length;
    };
    for (std::uint32_t length = 1; length < 20000; length += 7) {
        const TileSize size = dng::chooseTileSize(length, 20000 - length);
        for (const auto& [side, whole] :
            {std::pair(size.width, length), std::pair(size.height, 20000 - length)}) {
            ASSERT_EQ(side % 16, 0U);
            ASSERT_LE(side, 512U);
            ASSERT_TRUE(side >= 176 || side < whole + 16) << side << " of " << whole;
            ASSERT_LE(excess(whole, side), std::max(31U, whole / 12)) << side << " of " << whole;
        }
    }
    EXPECT_EQ(dng::chooseTileSize(6000, 4000), (TileSize{400, 400}));
    EXPECT_EQ(dng::chooseTileSize(1, 17), (TileSize{16, 16}));
}

TEST(TileEncoderTest, ChoosesNoTilesThatDecodersTakeForSomethingElse)
{
    for (std::uint32_t width = 1; width < 1100; ++width)
        for (const std::uint32_t height : {17U, 300U, 700U}) {
            const TileSize size = dng::chooseTileSize(width, height);
            ASSERT_NE(2 * size.width, width) << "two halves";
            ASSERT_TRUE(size.width <= width || size.height < height) << width << " x " << height;
        }
}

TEST(TileEncoderTest, CostsHardlyMoreInTilesThanInOneStrip)
{
    Samples samples(1503, 1001, 5);
    samples.fill([&](auto x, auto y) { return x + 2 * y + samples.at(x, y) + x % 2 * 500; });
    const auto size = dng::chooseTileSize(1503, 1001);
    std::size_t tiled = 0;
    for (const auto& tile : encoded(samples.frame(), size, {.isMosaic = true}))
        tiled += tile.size();
    const auto strip = encoded(samples.frame(), {1504, 1001}, {.isMosaic = true}).at(0).size();
    EXPECT_LE(static_cast<double>(tiled), 1.03 * static_cast<double>(strip));
}
