// What is encoded here is read by decoders of others: a library and a program.

#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"
#include "ZQPluginSupport/encoding/TileEncoder.h"
#include "modules/ZQPluginSupport/encoding/support/Samples.h"
#include "modules/ZQPluginSupport/encoding/support/TinyDng.h"
#include "support/ProgramOutput.h"
#include "support/TestFolder.h"

#include <cstdio>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <libraw/libraw.h>

namespace {

using test::Samples;
using Numbers = std::vector<std::uint16_t>;

struct Case {
    std::string name;
    std::uint32_t width;
    std::uint32_t height;
    unsigned int bits;
    bool isMosaic = true;
    unsigned int samplesPerPixel = 1;
    bool isCompressed = true;
};

std::string dngOf(const Samples& samples, const Case& what)
{
    // Those that read lossless JPEG read nothing else in tiles.
    const dng::TileSize tile = what.isCompressed ? dng::chooseTileSize(what.width, what.height)
                                                 : dng::TileSize{what.width, what.height};
    dng::WorkerThreads workers(2);
    dng::TileEncoder encoder(workers);
    auto tiles = encoder.encode(samples.frame(what.samplesPerPixel),
        tile,
        {.isCompressed = what.isCompressed, .isMosaic = what.isMosaic, .precision = what.bits});
    return test::TinyDng{what.width,
        what.height,
        tile,
        what.samplesPerPixel,
        what.isMosaic,
        what.isCompressed,
        std::move(tiles)}
        .bytes();
}

Samples samplesOf(const Case& what)
{
    return Samples(what.width * what.samplesPerPixel, what.height, what.bits, what.width);
}

// The picture as the library has it after unpacking.
Numbers unpacked(std::string dng, const Case& what)
{
    LibRaw library;
    EXPECT_EQ(library.open_buffer(dng.data(), dng.size()), LIBRAW_SUCCESS);
    EXPECT_EQ(library.unpack(), LIBRAW_SUCCESS);
    const auto& raw = library.imgdata.rawdata;
    EXPECT_EQ(raw.sizes.raw_width, what.width);
    EXPECT_EQ(raw.sizes.raw_height, what.height);
    Numbers result;
    for (std::size_t y = 0; y < what.height; ++y)
        for (std::size_t x = 0; x < what.width; ++x) {
            if (raw.raw_image != nullptr)
                result.push_back(raw.raw_image[y * raw.sizes.raw_pitch / 2 + x]);
            for (std::size_t c = 0; raw.color4_image != nullptr && c < 3; ++c)
                result.push_back(raw.color4_image[y * what.width + x][c]);
        }
    return result;
}

// Says how many differ and where, not what they all are.
void expectSame(const Numbers& found, const Samples& samples)
{
    const Numbers expected = samples.packed();
    ASSERT_EQ(found.size(), expected.size());
    std::size_t wrong = 0;
    std::size_t last = 0;
    for (std::size_t i = 0; i < found.size(); ++i)
        if (found[i] != expected[i]) {
            ++wrong;
            last = i;
        }
    EXPECT_EQ(wrong, 0U) << "the last at " << last % samples.view().columns << ','
                         << last / samples.view().columns << ": " << found[last] << " for "
                         << expected[last];
}

bool hasProgram(const std::string& name)
{
    return std::system(("command -v " + name + " >/dev/null").c_str()) == 0;
}

// The picture as the program prints it: a grey map of 16 bits, big endian.
Numbers printed(const std::string& path, const Case& what)
{
    const std::string map = test::outputOf({"dcraw", "-E", "-4", "-c", path});
    const std::string head =
        "P5\n" + std::to_string(what.width) + ' ' + std::to_string(what.height) + "\n65535\n";
    EXPECT_TRUE(map.starts_with(head)) << map.substr(0, 40);
    Numbers result;
    for (std::size_t at = head.size(); at + 1 < map.size(); at += 2)
        result.push_back(static_cast<std::uint16_t>(
            static_cast<unsigned char>(map[at]) << 8U | static_cast<unsigned char>(map[at + 1])));
    return result;
}

const Case kMosaics[] = {
    {"noise of sixteen bits", 640, 480, 16},
    {"an odd size", 301, 199, 14},
    {"small", 41, 39, 14},
    {"a tile wide", 512, 700, 14},
    {"half of it a tile wide", 640, 700, 14},
    {"as wide as two tiles might be", 1024, 300, 14},
    {"three tiles wide", 1536, 500, 14},
    {"one column more than a tile", 513, 257, 14},
    {"eight bits", 320, 240, 8},
    {"nine bits", 320, 240, 9},
    {"ten bits", 320, 240, 10},
    {"eleven bits", 320, 240, 11},
    {"twelve bits", 320, 240, 12},
    {"thirteen bits", 320, 240, 13},
    {"fifteen bits", 320, 240, 15},
    {"not compressed", 301, 199, 14, true, 1, false},
};

} // namespace

TEST(ForeignDecoderTest, ALibraryReadsMosaicsOfEveryKind)
{
    for (const Case& what : kMosaics) {
        SCOPED_TRACE(what.name);
        const Samples samples = samplesOf(what);
        expectSame(unpacked(dngOf(samples, what), what), samples);
    }
}

TEST(ForeignDecoderTest, ALibraryReadsOneSampleAPixelWithoutAMosaic)
{
    const Case what{"grey", 301, 199, 14, false};
    const Samples samples = samplesOf(what);
    expectSame(unpacked(dngOf(samples, what), what), samples);
}

TEST(ForeignDecoderTest, ALibraryReadsThreeSamplesAPixel)
{
    for (const bool isCompressed : {true, false}) {
        const Case what{"colours", 301, 199, 16, false, 3, isCompressed};
        const Samples samples = samplesOf(what);
        expectSame(unpacked(dngOf(samples, what), what), samples);
    }
}

TEST(ForeignDecoderTest, ALibraryReadsTheDifferenceThatHasSixteenBits)
{
    const Case what{"steps", 320, 240, 16};
    Samples samples = samplesOf(what);
    samples.fill([](auto x, auto y) { return (x / 2 + y) % 2 * 32768; });
    expectSame(unpacked(dngOf(samples, what), what), samples);
}

TEST(ForeignDecoderTest, ALibraryReadsFlatPictures)
{
    const Case what{"flat", 320, 240, 14};
    Samples samples = samplesOf(what);
    samples.fill([](auto, auto) { return 12345; });
    samples.at(319, 239) = 1; // a picture of one value is taken for none
    expectSame(unpacked(dngOf(samples, what), what), samples);
}

TEST(ForeignDecoderTest, AProgramReadsMosaicsOfEveryKind)
{
    if (!hasProgram("dcraw"))
        GTEST_SKIP() << "dcraw is not installed";
    const test::TestFolder folder;
    for (const Case& what : kMosaics) {
        SCOPED_TRACE(what.name);
        const Samples samples = samplesOf(what);
        const std::string path = folder.write("a.dng", dngOf(samples, what));
        expectSame(printed(path, what), samples);
    }
}
