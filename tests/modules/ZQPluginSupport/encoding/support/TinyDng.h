// A DNG with nothing but its picture, in tiles or, not compressed, one strip, for foreign decoders
// to read.
#pragma once

#include "ZQPluginSupport/encoding/TileEncoder.h"
#include "modules/ZQPluginSupport/support/TiffMaker.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

struct TinyDng {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    dng::TileSize tile;
    unsigned int samplesPerPixel = 1;
    bool isMosaic = true;
    bool isCompressed = true;
    std::vector<dng::EncodedTile> tiles;
    std::size_t white = 65535;

    std::string bytes() const
    {
        TiffMaker tiff;
        describeTiles(tiff);
        describeCamera(tiff);
        // The offsets are part of what determines them, but not by their values.
        std::vector<std::size_t> offsets(tiles.size());
        tiff.longs(offsetsTag(), offsets);
        std::size_t offset = tiff.file().size();
        for (std::size_t i = 0; i < tiles.size(); offset += tiles[i++].size())
            offsets[i] = offset;
        tiff.longs(offsetsTag(), offsets);
        std::string file = tiff.file();
        for (const auto& each : tiles)
            file.append(each.begin(), each.end());
        return file;
    }

private:
    std::uint16_t offsetsTag() const { return isCompressed ? 324 : 273; }

    void describeTiles(TiffMaker& tiff) const
    {
        std::vector<std::size_t> counts;
        for (const auto& each : tiles)
            counts.push_back(each.size());
        tiff.longs(254, {0});
        tiff.longs(256, {width});
        tiff.longs(257, {height});
        tiff.shorts(258, std::vector<std::size_t>(samplesPerPixel, 16));
        tiff.shorts(259, {isCompressed ? 7U : 1U});
        tiff.shorts(262, {isMosaic ? 32803U : 34892U});
        tiff.shorts(277, {samplesPerPixel});
        tiff.shorts(284, {1});
        tiff.longs(isCompressed ? 325 : 279, counts);
        if (!isCompressed) {
            tiff.longs(278, {tile.height});
            return;
        }
        tiff.longs(322, {tile.width});
        tiff.longs(323, {tile.height});
    }

    void describeCamera(TiffMaker& tiff) const
    {
        tiff.text(271, "Maker");
        tiff.text(272, "Model");
        if (isMosaic) {
            tiff.shorts(33421, {2, 2});
            tiff.bytes(33422, std::string("\0\1\1\2", 4));
        }
        tiff.bytes(50706, std::string("\1\4\0\0", 4));
        tiff.text(50708, "Maker Model");
        tiff.longs(50717, std::vector<std::size_t>(samplesPerPixel, white));
        tiff.signedRationals(50721, {1, 1, 0, 1, 0, 1, 0, 1, 1, 1, 0, 1, 0, 1, 0, 1, 1, 1});
    }
};

} // namespace test
