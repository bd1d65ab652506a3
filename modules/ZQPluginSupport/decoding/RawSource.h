// One raw file in the decoder's hands: its sensor's values, what is known of them, and pictures
// made of them. Borrows the file's bytes. What cannot be decoded, or not without a doubt, throws a
// ConversionFailure. One thread.
#pragma once

#include "ZQPluginSupport/decoding/SensorFacts.h"
#include "ZQPluginSupport/encoding/TileEncoder.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

class LibRaw;

namespace dng {

// Eight bits, sRGB, red first; as the sensor lay, not as the camera was held.
struct RenderedPicture {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> bytes; // three a pixel
};

// What the camera noted, for files whose own notes nobody else can read. 0 for what it did not.
struct ShotFacts {
    double seconds = 0; // of exposure
    double aperture = 0;
    double sensitivity = 0;
    double focalLength = 0; // millimetres
};

class RawSource {
public:
    using Progress = std::function<void()>;

    // Decodes. Calls `progress` now and then.
    RawSource(std::span<const std::byte> bytes, Progress progress);
    ~RawSource();
    RawSource(const RawSource&) = delete;
    RawSource& operator=(const RawSource&) = delete;

    // Whether the sensor's values are there, one a pixel: a mosaic, or no colours at all. Else
    // there are colours only, as linear() gives them.
    bool hasValues() const { return m_hasValues; }

    // All values, with those around the picture. Requires: hasValues().
    Frame values() const;
    const SensorFacts& facts() const { return m_facts; }
    ShotFacts shot() const;

    // The picture with three colours a pixel, in the camera's own colours, 0 is black; `facts`
    // becomes what holds for it. Valid until the next call for a picture; may be called once.
    Frame linear(SensorFacts& facts);

    // A picture for people to look at; `isHalf`: of half the size and faster.
    RenderedPicture rendered(bool isHalf);

    // Whether the file has three colours a pixel, and these: of a DNG that linear() went into.
    // Requires: the frame's rows have no gaps.
    bool holds(const Frame& linear) const;

private:
    void open(std::span<const std::byte> bytes);
    void unpack();
    void checkEnd(std::span<const std::byte> bytes) const;
    void readFacts();
    void readMosaic();
    void readBlack();
    void readColors();
    void readMatrices();
    void checkValues();
    RenderedPicture copyOfProcessed();

    std::unique_ptr<LibRaw> m_raw;
    Progress m_progress;
    bool m_foundDamage = false;
    bool m_hasValues = false;
    SensorFacts m_facts;
};

} // namespace dng
