#include "ZQPluginSupport/verification/DngCheck.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/original/DngFile.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "platform/common/files/FileBytes.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace dng {

namespace {

constexpr double kTolerance = 1e-3; // of numbers that a DNG holds as fractions

void require(bool isSo)
{
    if (!isSo)
        throw ConversionFailure(kZQPluginNotVerified);
}

bool isNear(const std::vector<double>& a, const std::vector<double>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double x, double y) {
        return std::abs(x - y) <= kTolerance * std::max({std::abs(x), std::abs(y), 1.0});
    });
}

// Of a picture with values, row by row: what is behind a row's end is nobody's.
bool isSame(const Frame& a, const Frame& b)
{
    if (a.width != b.width || a.height != b.height)
        return false;
    const std::size_t bytes = std::size_t{a.width} * sizeof(std::uint16_t);
    for (std::uint32_t row = 0; row < a.height; ++row)
        if (std::memcmp(a.samples + row * a.pitch, b.samples + row * b.pitch, bytes) != 0)
            return false;
    return true;
}

void checkFacts(const SensorFacts& found, const SensorFacts& expected)
{
    require(found.active == expected.active);
    require(found.mosaic == expected.mosaic);
    require(found.black == expected.black);
    require(found.white == expected.white);
    require(found.orientation == expected.orientation);
    require(isNear({found.aspect}, {expected.aspect}));
    require(!expected.hasColors() || isNear(found.neutral, expected.neutral));
    require(!expected.matrix.isThere() || isNear(found.matrix.values, expected.matrix.values));
}

void checkFrame(const RawSource& found, const Frame& expected)
{
    if (expected.samplesPerPixel == 1)
        require(found.hasValues() && isSame(expected, found.values()));
    else
        require(found.holds(expected));
}

void checkOriginal(const std::vector<std::byte>& dng, const ExpectedDng& expected)
{
    const MemorySource source(
        std::span(reinterpret_cast<const std::uint8_t*>(dng.data()), dng.size()));
    const auto file = openDng(source);
    require(file.has_value());
    const auto record = originalRecordOf(*file);
    require(record == expected.original);
    const TiffEntry* const inside = file->first().find(kTagOriginalData);
    require((inside != nullptr) == expected.embedsOriginal);
    if (!inside)
        return;
    const auto ignore = [](std::span<const std::uint8_t>) { return true; };
    require(unpackOriginal(source, *inside, record, ignore) == UnpackResult::kUnpacked);
}

} // namespace

std::vector<std::byte> readBack(int descriptor)
{
    if (Pt::flushAndForget(descriptor))
        throw ConversionFailure(kZQPluginWriteFailed);
    const auto size = Pt::sizeOfOpenFile(descriptor);
    require(size.has_value());
    std::vector<std::byte> bytes(static_cast<std::size_t>(*size));
    if (Pt::readAt(descriptor, 0, bytes))
        throw ConversionFailure(kZQPluginWriteFailed);
    return bytes;
}

void checkDng(const std::vector<std::byte>& dng,
    const ExpectedDng& expected,
    const RawSource::Progress& progress)
{
    checkOriginal(dng, expected);
    try {
        const RawSource again(dng, progress);
        checkFacts(again.facts(), expected.facts);
        checkFrame(again, expected.frame);
    } catch (const ConversionFailure&) {
        throw ConversionFailure(kZQPluginNotVerified); // whatever it is, it is not what was written
    }
}

} // namespace dng
