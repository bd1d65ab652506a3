#include "ZQPluginSupport/encoding/TileEncoder.h"

#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>

namespace dng {

namespace {

constexpr std::uint32_t kUnit = 16; // pixels: TIFF wants multiples of it
constexpr std::uint32_t kMinTileSide = 176;
constexpr std::uint32_t kMaxTileSide = 512;
constexpr std::uint32_t kMaxImageSide = LosslessJpegEncoder::kMaxSide;

constexpr std::uint32_t up(std::uint32_t value, std::uint32_t unit)
{
    return (value + unit - 1) / unit * unit;
}

// What a side costs, in rows of pixels: those outside the frame, and about one for each tile's own
// head and codes.
constexpr std::uint32_t costOf(std::uint32_t side, std::uint32_t length)
{
    return up(length, side) + up(length, side) / side;
}

// The longest of those that cost least; not this one.
std::uint32_t chooseSide(std::uint32_t length, std::uint32_t avoided)
{
    if (length <= kMaxTileSide)
        return std::max(up(length, kUnit), kUnit);
    std::uint32_t best = 0;
    for (std::uint32_t side = kMaxTileSide; side >= kMinTileSide; side -= kUnit)
        if (side != avoided && (best == 0 || costOf(side, length) < costOf(best, length)))
            best = side;
    return best;
}

std::uint32_t halfOf(std::uint32_t length)
{
    return up((length + 1) / 2, kUnit);
}

// The position within the length that has the same place in the mosaic as one beyond it: a position
// less than a period before the end.
std::uint32_t sameWithin(std::uint32_t position, std::uint32_t length, std::uint32_t repeat)
{
    if (position < length)
        return position;
    const std::uint32_t back = up(position - length + 1, repeat);
    return back <= position ? position - back : position % length; // no whole period is there
}

// What is the same for all tiles of a frame.
class Cutting {
public:
    Cutting(const Frame& frame, const TileSize& size, unsigned int repeat)
        : m_frame(frame)
        , m_size(size)
        , m_repeat(repeat)
        , m_across((frame.width + size.width - 1) / size.width)
        , m_down((frame.height + size.height - 1) / size.height)
    {
    }

    std::size_t count() const { return std::size_t{m_across} * m_down; }

    // The samples of a tile: in the frame if it lies there wholly, else in `filled`.
    SampleView tile(std::size_t index, std::vector<std::uint16_t>& filled) const
    {
        const auto left = static_cast<std::uint32_t>(index % m_across) * m_size.width;
        const auto top = static_cast<std::uint32_t>(index / m_across) * m_size.height;
        const std::uint32_t columns = m_size.width * m_frame.samplesPerPixel;
        if (m_frame.width - left >= m_size.width && m_frame.height - top >= m_size.height)
            return {row(top) + std::size_t{left} * m_frame.samplesPerPixel,
                m_frame.pitch,
                columns,
                m_size.height};
        filled.resize(std::size_t{columns} * m_size.height);
        for (std::uint32_t y = 0; y < m_size.height; ++y) {
            std::uint16_t* const to = filled.data() + std::size_t{y} * columns;
            if (top + y < m_frame.height)
                fillRow(row(top + y), left, to);
            else
                fillRowBelow(row(sameWithin(top + y, m_frame.height, m_repeat)), left, to);
        }
        return {filled.data(), columns, columns, m_size.height};
    }

private:
    const std::uint16_t* row(std::uint32_t y) const { return m_frame.samples + y * m_frame.pitch; }

    void fillRow(const std::uint16_t* from, std::uint32_t left, std::uint16_t* to) const
    {
        const std::size_t samples = m_frame.samplesPerPixel;
        const std::uint32_t inside = std::min(m_size.width, m_frame.width - left);
        std::copy_n(from + left * samples, inside * samples, to);
        for (std::uint32_t x = inside; x < m_size.width; ++x)
            std::copy_n(from + sameWithin(left + x, m_frame.width, m_repeat) * samples,
                samples,
                to + x * samples);
    }

    void fillRowBelow(const std::uint16_t* from, std::uint32_t left, std::uint16_t* to) const
    {
        const std::size_t samples = m_frame.samplesPerPixel;
        for (std::uint32_t x = 0; x < m_size.width; ++x)
            std::copy_n(from + sameWithin(left + x % m_repeat, m_frame.width, m_repeat) * samples,
                samples,
                to + x * samples);
    }

    const Frame& m_frame;
    const TileSize m_size;
    const std::uint32_t m_repeat;
    const std::uint32_t m_across;
    const std::uint32_t m_down;
};

EncodedTile littleEndian(const SampleView& tile)
{
    EncodedTile bytes(std::size_t{tile.columns} * tile.rows * 2);
    std::uint8_t* to = bytes.data();
    for (std::uint32_t y = 0; y < tile.rows; ++y) {
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(to, tile.row(y), std::size_t{tile.columns} * 2);
            to += std::size_t{tile.columns} * 2;
            continue;
        }
        for (std::uint32_t x = 0; x < tile.columns; ++x) {
            *to++ = static_cast<std::uint8_t>(tile.row(y)[x]);
            *to++ = static_cast<std::uint8_t>(tile.row(y)[x] >> 8U);
        }
    }
    return bytes;
}

void check(const Frame& frame, const TileSize& size, const TileCoding& coding)
{
    if (frame.width == 0 || frame.height == 0 || size.width == 0 || size.height == 0)
        throw std::invalid_argument("a frame and its tiles have a size");
    if (size.width > kMaxImageSide || size.height > kMaxImageSide)
        throw std::invalid_argument("a tile is too large");
    if (frame.width > UINT32_MAX - size.width || frame.height > UINT32_MAX - size.height)
        throw std::invalid_argument("the frame is too large");
    if (frame.samplesPerPixel != 1 && (frame.samplesPerPixel != 3 || coding.isMosaic))
        throw std::invalid_argument("a pixel has 1 or 3 samples, that of a mosaic 1");
    if (frame.pitch / frame.samplesPerPixel < frame.width)
        throw std::invalid_argument("the rows of the frame overlap");
    if (coding.repeat != 0 && coding.repeat != 1 && coding.repeat != 2 && coding.repeat != 6)
        throw std::invalid_argument("a mosaic repeats after 1, 2 or 6 pixels");
}

unsigned int repeatOf(const TileCoding& coding)
{
    if (coding.repeat != 0)
        return coding.repeat;
    return coding.isMosaic ? 2 : 1;
}

// What one thread needs for a tile; handed on to the next tile when it is done.
struct Bench {
    LosslessJpegEncoder encoder;
    std::vector<std::uint16_t> filled;
};

class Benches {
public:
    Benches(unsigned int components, unsigned int precision)
        : m_components(components)
        , m_precision(precision)
    {
    }

    std::unique_ptr<Bench> take()
    {
        const std::lock_guard held(m_lock);
        if (m_free.empty())
            return std::make_unique<Bench>(Bench{{m_components, m_precision}, {}});
        auto bench = std::move(m_free.back());
        m_free.pop_back();
        return bench;
    }

    void give(std::unique_ptr<Bench> bench)
    {
        const std::lock_guard held(m_lock);
        m_free.push_back(std::move(bench));
    }

private:
    const unsigned int m_components;
    const unsigned int m_precision;
    std::mutex m_lock;
    std::vector<std::unique_ptr<Bench>> m_free;
};

} // namespace

TileSize chooseTileSize(std::uint32_t width, std::uint32_t height)
{
    // Two facts about decoders in use: a single tile is read as a strip of the frame's width, and
    // two tiles side by side that fill the frame are taken for the two halves of a slice.
    TileSize size{chooseSide(width, width / 2), chooseSide(height, 0)};
    const bool isOne = width <= size.width && height <= size.height;
    if (isOne && width % kUnit != 0) {
        if (width > kUnit)
            size.width = halfOf(width);
        else
            size.height = halfOf(height);
    }
    return size;
}

TileEncoder::TileEncoder(WorkerThreads& threads)
    : m_threads(threads)
{
}

std::vector<EncodedTile> TileEncoder::encode(
    const Frame& frame, const TileSize& size, const TileCoding& coding)
{
    check(frame, size, coding);
    const Cutting cutting(frame, size, repeatOf(coding));
    Benches benches(coding.isMosaic ? 2 : frame.samplesPerPixel, coding.precision);
    std::vector<EncodedTile> tiles(cutting.count());
    m_threads.run(tiles.size(), [&](std::size_t index) {
        auto bench = benches.take();
        const SampleView tile = cutting.tile(index, bench->filled);
        tiles[index] = coding.isCompressed ? bench->encoder.encode(tile) : littleEndian(tile);
        benches.give(std::move(bench));
    });
    return tiles;
}

} // namespace dng
