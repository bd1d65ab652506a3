#include "ZQPluginSupport/decoding/RawSource.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "modules/ZQPluginSupport/support/TinyRaw.h"

#include <algorithm>
#include <optional>

#include <gtest/gtest.h>

namespace test {
namespace {

using dng::ConversionFailure;
using dng::RawSource;

std::optional<ZQPluginResult> failureOf(const std::string& bytes)
{
    try {
        const RawSource raw(bytesOf(bytes), [] {});
        return std::nullopt;
    } catch (const ConversionFailure& failure) {
        return failure.reason();
    }
}

TEST(RawSourceTest, GivesTheValuesAsTheyStandInTheFile)
{
    const std::string file = tinyRaw(96, 64, 7);
    RawSource raw(bytesOf(file), [] {});
    ASSERT_TRUE(raw.hasValues());
    const dng::Frame frame = raw.values();
    ASSERT_EQ(frame.width, 96U);
    ASSERT_EQ(frame.height, 64U);
    const Samples expected(96, 64, 14, 7);
    for (std::uint32_t y = 0; y < 64; ++y)
        for (std::uint32_t x = 0; x < 96; ++x)
            ASSERT_EQ(frame.samples[y * frame.pitch + x], expected.at(x, y));
}

TEST(RawSourceTest, KnowsWhereWhichColourIs)
{
    const std::string file = tinyRaw();
    const RawSource raw(bytesOf(file), [] {});
    EXPECT_EQ(raw.facts().mosaic, (dng::RepeatedPattern<std::uint8_t>{2, 2, {0, 1, 1, 2}}));
    EXPECT_EQ(raw.facts().active, (dng::Area{0, 0, 64, 96}));
    EXPECT_EQ(raw.facts().white, 65535U);
    EXPECT_EQ(raw.facts().black, (dng::RepeatedPattern<std::uint32_t>{1, 1, {0}}));
}

TEST(RawSourceTest, RefusesWhatIsNoRawFile)
{
    EXPECT_EQ(failureOf(""), kZQPluginNotSupported);
    EXPECT_EQ(failureOf("\xff\xd8\xff\xe0" + std::string(5000, 'j')), kZQPluginNotSupported);
    EXPECT_EQ(failureOf(std::string(100'000, 'x')), kZQPluginNotSupported);
}

TEST(RawSourceTest, RefusesWhatWasCutOff)
{
    const std::string file = tinyRaw();
    for (const std::size_t length : {file.size() / 2, file.size() - 200, file.size() - 3000})
        EXPECT_TRUE(failureOf(file.substr(0, length))) << length;
}

// Of a disk that gave zeros, say.
TEST(RawSourceTest, RefusesAFrameOfOneValue)
{
    std::string file = tinyRaw();
    const std::size_t values = std::size_t{96} * 64 * 2;
    file.replace(file.size() - values, values, values, '\0');
    EXPECT_EQ(failureOf(file), kZQPluginDamaged);
}

TEST(RawSourceTest, SaysThatItGoesOn)
{
    const std::string file = tinyRaw();
    int count = 0;
    RawSource raw(bytesOf(file), [&count] { ++count; });
    raw.rendered(true);
    EXPECT_GT(count, 0);
}

TEST(RawSourceTest, GivesThreeColoursForEachPixel)
{
    const std::string file = tinyRaw();
    RawSource raw(bytesOf(file), [] {});
    dng::SensorFacts facts;
    const dng::Frame frame = raw.linear(facts);
    EXPECT_EQ(frame.samplesPerPixel, 3U);
    EXPECT_EQ(frame.width, 96U);
    EXPECT_EQ(frame.height, 64U);
    EXPECT_FALSE(facts.hasMosaic());
    EXPECT_EQ(facts.active, (dng::Area{0, 0, 64, 96}));
    // What the sensor saw itself is not changed: red at the top left of the mosaic.
    const Samples expected(96, 64, 14, 1);
    EXPECT_EQ(frame.samples[(std::size_t{20} * 96 + 20) * 3], expected.at(20, 20));
}

TEST(RawSourceTest, GivesTheSameColoursAfterAPictureForPeople)
{
    const std::string file = tinyRaw();
    RawSource plain(bytesOf(file), [] {});
    RawSource used(bytesOf(file), [] {});
    used.rendered(false);
    dng::SensorFacts facts;
    const dng::Frame expected = plain.linear(facts);
    const dng::Frame frame = used.linear(facts);
    EXPECT_TRUE(
        std::equal(frame.samples, frame.samples + std::size_t{96} * 64 * 3, expected.samples));
}

TEST(RawSourceTest, HoldsNoColoursWhereThereIsAMosaic)
{
    const std::string file = tinyRaw();
    RawSource raw(bytesOf(file), [] {});
    dng::SensorFacts facts;
    const dng::Frame colours = raw.linear(facts);
    EXPECT_FALSE(raw.holds(colours));
}

TEST(RawSourceTest, MakesAPictureForPeopleOfHalfTheSizeOrAll)
{
    const std::string file = tinyRaw();
    RawSource raw(bytesOf(file), [] {});
    const dng::RenderedPicture half = raw.rendered(true);
    EXPECT_EQ(half.width, 48U);
    EXPECT_EQ(half.height, 32U);
    const dng::RenderedPicture full = raw.rendered(false);
    EXPECT_EQ(full.width, 96U);
    EXPECT_EQ(full.height, 64U);
    EXPECT_EQ(full.bytes.size(), std::size_t{96} * 64 * 3);
}

// Brighter from column to column.
TEST(RawSourceTest, MakesAGreyPictureWhereThereAreNoColours)
{
    TinyDng file;
    file.width = file.height = 64;
    file.tile = {64, 64};
    file.isMosaic = file.isCompressed = false;
    file.tiles.emplace_back();
    for (unsigned int i = 0; i < 64 * 64; ++i) {
        file.tiles[0].push_back(0);
        file.tiles[0].push_back(static_cast<std::uint8_t>(i % 64 * 4));
    }
    const std::string bytes = file.bytes();
    RawSource raw(bytesOf(bytes), [] {});
    const dng::RenderedPicture picture = raw.rendered(false);
    ASSERT_EQ(picture.bytes.size(), std::size_t{64} * 64 * 3);
    for (std::size_t i = 0; i < picture.bytes.size(); i += 3) {
        EXPECT_EQ(picture.bytes[i + 1], picture.bytes[i]);
        EXPECT_EQ(picture.bytes[i + 2], picture.bytes[i]);
        if (i / 3 % 64 > 0) {
            EXPECT_GE(picture.bytes[i], picture.bytes[i - 3]);
        }
    }
    EXPECT_GT(picture.bytes.back(), picture.bytes.front());
}

} // namespace
} // namespace test
