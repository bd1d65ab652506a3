#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"

#include "modules/ZQPluginSupport/encoding/support/PlainDecoder.h"
#include "modules/ZQPluginSupport/encoding/support/Samples.h"

#include <gtest/gtest.h>

namespace {

using dng::LosslessJpegEncoder;
using test::PlainDecoder;
using test::Samples;

PlainDecoder decoded(const Samples& samples, unsigned int components, unsigned int precision)
{
    return PlainDecoder(LosslessJpegEncoder(components, precision).encode(samples.view()));
}

void expectReturn(const Samples& samples, unsigned int components, unsigned int precision)
{
    const PlainDecoder result = decoded(samples, components, precision);
    EXPECT_EQ(result.precision, precision);
    EXPECT_EQ(result.components, components);
    EXPECT_EQ(result.columns, samples.view().columns);
    EXPECT_EQ(result.rows, samples.view().rows);
    EXPECT_EQ(result.samples, samples.packed());
}

} // namespace

TEST(LosslessJpegEncoderTest, GivesBackEverySampleForEachPrecisionAndNumberOfComponents)
{
    for (unsigned int components = 1; components <= 3; ++components)
        for (unsigned int precision = 8; precision <= 16; ++precision) {
            SCOPED_TRACE(
                testing::Message() << components << " components, " << precision << " bits");
            expectReturn(Samples(components * 37, 23, precision), components, precision);
        }
}

TEST(LosslessJpegEncoderTest, GivesBackTilesOfAnySmallSize)
{
    for (unsigned int components = 1; components <= 3; ++components)
        for (std::uint32_t width = 1; width <= 9; ++width)
            for (std::uint32_t rows = 1; rows <= 4; ++rows) {
                SCOPED_TRACE(testing::Message() << components << ": " << width << " x " << rows);
                expectReturn(Samples(components * width, rows, 12, width), components, 12);
            }
}

TEST(LosslessJpegEncoderTest, GivesBackFlatTiles)
{
    for (const unsigned int value : {0U, 1U, 127U, 32767U, 32768U, 65535U}) {
        Samples samples(64, 16, 16);
        samples.fill([value](auto, auto) { return value; });
        expectReturn(samples, 1, 16);
        expectReturn(samples, 2, 16);
    }
}

TEST(LosslessJpegEncoderTest, GivesBackTheDifferenceThatHasSixteenBits)
{
    Samples samples(64, 16, 16);
    samples.fill([](auto x, auto y) { return (x + y) % 2 * 32768; });
    expectReturn(samples, 1, 16);
    samples.fill([](auto x, auto y) { return (x / 2 + y) % 2 * 32768; });
    expectReturn(samples, 2, 16);
    samples.fill([](auto x, auto) { return x % 3 * 32768 - x % 2; });
    expectReturn(samples, 1, 16);
}

TEST(LosslessJpegEncoderTest, GivesBackDifferencesOfEveryCategoryAtOnce)
{
    // 1, 1, 2, 3, 5 and so on times: the code that wants to be longest.
    std::vector<unsigned int> categories;
    for (unsigned int category = 0, count = 1, next = 1; category <= 16; ++category) {
        categories.insert(categories.end(), count, 16 - category);
        count = std::exchange(next, count + next);
    }
    Samples samples(static_cast<std::uint32_t>(categories.size()), 1, 16);
    std::uint16_t value = 32768;
    samples.fill([&](auto x, auto) {
        const unsigned int category = categories[x];
        return value =
                   static_cast<std::uint16_t>(value + (category == 0 ? 0 : 1U << (category - 1)));
    });
    expectReturn(samples, 1, 16);
}

TEST(LosslessJpegEncoderTest, PutsAZeroBehindEachByteOfOnes)
{
    // Of two equally frequent categories one has the code 10; noise brings out long runs of ones.
    Samples samples(512, 64, 8);
    samples.fill([](auto x, auto) { return x % 2 == 0 ? 255 : 0; });
    const auto stream = LosslessJpegEncoder(1, 8).encode(samples.view());
    EXPECT_GT(std::count(stream.begin(), stream.end(), 0xff), 100);
    expectReturn(samples, 1, 8);
}

TEST(LosslessJpegEncoderTest, NeedsHardlyMoreThanABitForASampleOfAFlatTile)
{
    Samples samples(256, 256, 16);
    samples.fill([](auto, auto) { return 4711; });
    EXPECT_LE(LosslessJpegEncoder(2, 16).encode(samples.view()).size(), 256 * 256 / 8 + 128);
}

TEST(LosslessJpegEncoderTest, EncodesTheSameTileTheSameAfterAnother)
{
    LosslessJpegEncoder encoder(2, 14);
    const Samples first(64, 64, 14, 1);
    const Samples second(32, 8, 9, 2);
    const auto before = encoder.encode(first.view());
    EXPECT_EQ(encoder.encode(second.view()), LosslessJpegEncoder(2, 14).encode(second.view()));
    EXPECT_EQ(encoder.encode(first.view()), before);
}

TEST(LosslessJpegEncoderTest, RefusesWhatNoStreamCanHold)
{
    EXPECT_THROW(LosslessJpegEncoder(0, 16), std::invalid_argument);
    EXPECT_THROW(LosslessJpegEncoder(4, 16), std::invalid_argument);
    EXPECT_THROW(LosslessJpegEncoder(1, 7), std::invalid_argument);
    EXPECT_THROW(LosslessJpegEncoder(1, 17), std::invalid_argument);
    LosslessJpegEncoder two(2, 12);
    EXPECT_THROW(two.encode({}), std::invalid_argument);
    EXPECT_THROW(two.encode(Samples(7, 2, 12).view()), std::invalid_argument) << "half a pixel";
    EXPECT_THROW(two.encode(Samples(8, 0, 12).view()), std::invalid_argument);
    EXPECT_THROW(two.encode(Samples(2, 65536, 12).view()), std::invalid_argument);
    EXPECT_THROW(two.encode(Samples(131072, 1, 12).view()), std::invalid_argument);
    EXPECT_NO_THROW(two.encode(Samples(131070, 1, 12).view()));
}

TEST(LosslessJpegEncoderTest, RefusesASampleOfMoreBitsWhereverItStands)
{
    for (const std::size_t x : {0U, 1U, 2U, 7U})
        for (const std::size_t y : {0U, 1U, 3U}) {
            Samples samples(8, 4, 12);
            samples.at(x, y) = 4096;
            EXPECT_THROW(LosslessJpegEncoder(2, 12).encode(samples.view()), std::invalid_argument);
            EXPECT_NO_THROW(LosslessJpegEncoder(2, 13).encode(samples.view()));
        }
}

TEST(LosslessJpegEncoderTest, TellsThePrecisionOfALargestSample)
{
    EXPECT_EQ(dng::precisionFor(0), 8U);
    EXPECT_EQ(dng::precisionFor(255), 8U);
    EXPECT_EQ(dng::precisionFor(256), 9U);
    EXPECT_EQ(dng::precisionFor(16383), 14U);
    EXPECT_EQ(dng::precisionFor(16384), 15U);
    EXPECT_EQ(dng::precisionFor(65535), 16U);
}
