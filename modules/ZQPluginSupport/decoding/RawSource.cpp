#include "ZQPluginSupport/decoding/RawSource.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/decoding/ColorFacts.h"
#include "ZQPluginSupport/decoding/RawOrientation.h"
#include "ZQPluginSupport/decoding/SwappedJpeg.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include <libraw.h>

namespace dng {

namespace {

constexpr unsigned int kRandomMosaic = 1; // the library's word for one of 16 by 16 pixels
constexpr unsigned int kSixBySix = 9;
// Interpolation by the gradients of neighbours, for previews: a fifth of the time that the best one
// takes, which nobody sees behind the losses of JPEG.
constexpr int kQuickInterpolation = 2;
constexpr int kBestInterpolation = -1; // the library's own choice

ConversionFailure failureOf(int result)
{
    switch (result) {
    case LIBRAW_FILE_UNSUPPORTED:
    case LIBRAW_NOT_IMPLEMENTED:
    case LIBRAW_REQUEST_FOR_NONEXISTENT_IMAGE:
    case LIBRAW_NO_THUMBNAIL:
        return ConversionFailure(kZQPluginNotSupported);
    case LIBRAW_UNSUFFICIENT_MEMORY:
    case LIBRAW_TOO_BIG:
        return ConversionFailure(kZQPluginTooLarge);
    default:
        return ConversionFailure(kZQPluginDamaged);
    }
}

void require(int result)
{
    if (result != LIBRAW_SUCCESS)
        throw failureOf(result);
}

int onProgress(void* progress, LibRaw_progress /*stage*/, int /*iteration*/, int /*expected*/)
{
    (*static_cast<const RawSource::Progress*>(progress))();
    return 0;
}

// The library keeps to itself where the values begin.
class OffsetTellingRaw final : public LibRaw {
public:
    using LibRaw::LibRaw;
    std::uint64_t valuesOffset() const
    {
        return static_cast<std::uint64_t>(libraw_internal_data.unpacker_data.data_offset);
    }
};

void onDamage(void* isDamaged, const char* /*file*/, int /*offset*/)
{
    *static_cast<bool*>(isDamaged) = true;
}

} // namespace

RawSource::RawSource(std::span<const std::byte> bytes, Progress progress)
    : m_raw(std::make_unique<OffsetTellingRaw>(LIBRAW_OPIONS_NO_MEMERR_CALLBACK))
    , m_progress(std::move(progress))
{
    m_raw->set_progress_handler(onProgress, &m_progress);
    m_raw->set_dataerror_handler(onDamage, &m_foundDamage);
    open(bytes);
    unpack();
    checkEnd(bytes);
    readFacts();
    if (m_hasValues)
        checkValues();
}

RawSource::~RawSource() = default;

void RawSource::open(std::span<const std::byte> bytes)
{
    if (bytes.empty())
        throw ConversionFailure(kZQPluginNotSupported);
    require(m_raw->open_buffer(const_cast<std::byte*>(bytes.data()), bytes.size()));
    // The library reads pictures of other kinds, too, as far as it knows their headers.
    if (m_raw->imgdata.idata.raw_count == 0)
        throw ConversionFailure(kZQPluginNotSupported);
}

// Compressed values can be damaged and still be decoded; the library tells of it by the way.
void RawSource::unpack()
{
    require(m_raw->unpack());
    if (m_foundDamage)
        throw ConversionFailure(kZQPluginDamaged);
    const auto& raw = m_raw->imgdata.rawdata;
    const auto& sizes = m_raw->imgdata.sizes;
    // A sensor that lies at an angle is turned by the library on the way to colours.
    m_hasValues = raw.raw_image != nullptr && raw.ioparams.fuji_width == 0
        && m_raw->imgdata.idata.filters != kRandomMosaic;
    if (sizes.width == 0 || sizes.height == 0 || sizes.left_margin + sizes.width > sizes.raw_width
        || sizes.top_margin + sizes.height > sizes.raw_height)
        m_hasValues = false;
}

// Damage that the library passes over: in the JPEG picture of one of its decoders, and the last
// byte of values that are not compressed.
void RawSource::checkEnd(std::span<const std::byte> bytes) const
{
    const std::uint64_t offset = static_cast<const OffsetTellingRaw&>(*m_raw).valuesOffset();
    libraw_decoder_info_t decoder{};
    if (m_raw->get_decoder_info(&decoder) != LIBRAW_SUCCESS || decoder.decoder_name == nullptr)
        return;
    const std::string_view name(decoder.decoder_name);
    const auto& sizes = m_raw->imgdata.rawdata.sizes;
    const std::uint64_t plainBytes = std::uint64_t{2} * sizes.raw_width * sizes.raw_height;
    if (name == "kodak_jpeg_load_raw()"
        && (offset > bytes.size() || !isWholeSwappedJpeg(bytes.subspan(offset))))
        throw ConversionFailure(kZQPluginDamaged);
    if (name == "unpacked_load_raw()" && offset + plainBytes > bytes.size())
        throw ConversionFailure(kZQPluginDamaged);
}

void RawSource::readFacts()
{
    const auto& sizes = m_raw->imgdata.sizes;
    m_facts.active = {sizes.top_margin,
        sizes.left_margin,
        std::uint32_t{sizes.top_margin} + sizes.height,
        std::uint32_t{sizes.left_margin} + sizes.width};
    m_facts.aspect = sizes.pixel_aspect > 0.1 && sizes.pixel_aspect < 10 ? sizes.pixel_aspect : 1;
    m_facts.orientation = static_cast<unsigned int>(orientationOfFlip(sizes.flip));
    m_facts.make = m_raw->imgdata.idata.make;
    m_facts.model = m_raw->imgdata.idata.model;
    m_facts.white = m_raw->imgdata.color.maximum;
    m_facts.planes = planesOf(m_raw->imgdata.idata);
    if (m_hasValues)
        readMosaic();
    readBlack();
    if (m_facts.hasColors())
        readColors();
}

// The library's colours count from the corner of the picture, as a DNG's do.
void RawSource::readMosaic()
{
    const auto& idata = m_raw->imgdata.idata;
    if (idata.filters == 0)
        return;
    const std::uint32_t side = idata.filters == kSixBySix ? 6 : 8;
    m_facts.mosaic = {side, side, {}};
    for (std::uint32_t row = 0; row < side; ++row)
        for (std::uint32_t column = 0; column < side; ++column)
            m_facts.mosaic.values.push_back(colorCode(
                idata.cdesc[m_raw->COLOR(static_cast<int>(row), static_cast<int>(column)) & 3]));
    m_facts.mosaic = shortest(std::move(m_facts.mosaic));
    if (m_facts.mosaic.rows == 1 || m_facts.mosaic.columns == 1) { // stripes: no reader takes them
        m_facts.mosaic = {};
        m_hasValues = false;
    }
}

// The sum of a level for all, one for each colour, and one for each place in a pattern.
void RawSource::readBlack()
{
    const auto& color = m_raw->imgdata.color;
    const unsigned int patternRows = color.cblack[4];
    const unsigned int patternColumns = color.cblack[5];
    const bool hasPattern = patternRows * patternColumns > 0
        && std::uint64_t{patternRows} * patternColumns <= LIBRAW_CBLACK_SIZE - 6;
    const std::uint32_t rows =
        std::lcm(m_facts.hasMosaic() ? m_facts.mosaic.rows : 1, hasPattern ? patternRows : 1);
    const std::uint32_t columns =
        std::lcm(m_facts.hasMosaic() ? m_facts.mosaic.columns : 1, hasPattern ? patternColumns : 1);
    m_facts.black = {rows, columns, {}};
    for (std::uint32_t row = 0; row < rows; ++row)
        for (std::uint32_t column = 0; column < columns; ++column) {
            const int plane = m_facts.hasMosaic()
                ? m_raw->COLOR(static_cast<int>(row), static_cast<int>(column)) & 3
                : 0;
            std::uint32_t level = color.black + color.cblack[plane];
            if (hasPattern)
                level +=
                    color.cblack[6 + row % patternRows * patternColumns + column % patternColumns];
            m_facts.black.values.push_back(level);
        }
    m_facts.black = shortest(std::move(m_facts.black));
}

void RawSource::readColors()
{
    const auto& color = m_raw->imgdata.color;
    const std::size_t planes = m_facts.planes.size();
    m_facts.neutral = neutralOf(color.cam_mul, planes);
    if (m_facts.neutral.empty())
        m_facts.neutral = neutralOf(color.pre_mul, planes);
    if (m_facts.neutral.empty())
        m_facts.neutral.assign(planes, 1);
    readMatrices();
}

void RawSource::readMatrices()
{
    const auto& color = m_raw->imgdata.color;
    const std::size_t planes = m_facts.planes.size();
    m_facts.matrix = matrixOf(color, planes);
    if (m_raw->imgdata.idata.dng_version != 0)
        takeOwnMatrices(color, planes, m_facts);
}

// Damage that compression would show goes unnoticed without it; but a frame of one value alone is
// none. A white that the decoder does not know is where the brightest values are.
void RawSource::checkValues()
{
    const Frame frame = values();
    std::uint16_t least = frame.samples[0];
    std::uint16_t most = least;
    std::uint64_t beyond = 0;
    for (std::uint32_t row = 0; row < frame.height; ++row) {
        const std::uint16_t* const first = frame.samples + row * frame.pitch;
        const auto [low, high] = std::minmax_element(first, first + frame.width);
        least = std::min(least, *low);
        most = std::max(most, *high);
        if (*high > m_facts.white)
            beyond += static_cast<std::uint64_t>(std::count_if(first,
                first + frame.width,
                [this](std::uint16_t value) { return value > m_facts.white; }));
    }
    if (least == most)
        throw ConversionFailure(kZQPluginDamaged);
    const bool isKnown =
        m_facts.white > 0 && beyond * 200 <= std::uint64_t{frame.width} * frame.height;
    if (!isKnown && most > m_facts.white + m_facts.white / 4)
        m_facts.white = most;
}

Frame RawSource::values() const
{
    const auto& raw = m_raw->imgdata.rawdata;
    return {raw.raw_image,
        raw.sizes.raw_pitch > 0 ? raw.sizes.raw_pitch / sizeof(std::uint16_t) : raw.sizes.raw_width,
        raw.sizes.raw_width,
        raw.sizes.raw_height,
        1};
}

ShotFacts RawSource::shot() const
{
    const auto& other = m_raw->imgdata.other;
    return {other.shutter, other.aperture, other.iso_speed, other.focal_len};
}

// No balance, no brightening and no curve: what the mosaic says, with the missing colours put in.
Frame RawSource::linear(SensorFacts& facts)
{
    if (m_facts.planes.size() != 3)
        throw ConversionFailure(kZQPluginNotSupported);
    auto& data = m_raw->imgdata;
    data.params.output_color = 0;
    data.params.gamm[0] = data.params.gamm[1] = 1;
    data.params.no_auto_bright = 1;
    data.params.no_auto_scale = 1;
    data.params.output_bps = 16;
    data.params.user_flip = 0;
    data.params.half_size = 0;
    data.params.user_qual = kBestInterpolation;
    data.params.use_fuji_rotate = data.rawdata.ioparams.fuji_width != 0 ? 1 : 0;
    require(m_raw->dcraw_process());
    if (m_foundDamage || data.image == nullptr)
        throw ConversionFailure(kZQPluginDamaged);
    const std::uint32_t width = data.sizes.iwidth;
    const std::uint32_t height = data.sizes.iheight;
    // Four values a pixel become three, in the same memory.
    auto* const packed = reinterpret_cast<std::uint16_t*>(data.image);
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            packed[i * 3 + c] = data.image[i][c];
    facts = m_facts;
    facts.active = {0, 0, height, width};
    facts.mosaic = {};
    facts.black = {1, 1, {0}};
    facts.white = data.color.maximum;
    return {packed, std::size_t{width} * 3, width, height, 3};
}

RenderedPicture RawSource::copyOfProcessed()
{
    int width = 0;
    int height = 0;
    int colors = 0;
    int bits = 0;
    m_raw->get_mem_image_format(&width, &height, &colors, &bits);
    if (width <= 0 || height <= 0 || bits != 8 || (colors != 3 && colors != 1))
        throw ConversionFailure(kZQPluginNotSupported);
    RenderedPicture picture{
        static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), {}};
    const std::size_t pixels = std::size_t{picture.width} * picture.height;
    picture.bytes.resize(pixels * 3);
    require(m_raw->copy_mem_image(picture.bytes.data(), width * colors, 0));
    if (colors == 1) // from the end, where no grey is overwritten before it was read
        for (std::size_t i = pixels; i-- > 0;)
            std::fill_n(&picture.bytes[i * 3], 3, std::uint8_t{picture.bytes[i]});
    m_raw->free_image();
    return picture;
}

RenderedPicture RawSource::rendered(bool isHalf)
{
    auto& params = m_raw->imgdata.params;
    params.half_size = isHalf ? 1 : 0;
    params.user_qual = kQuickInterpolation;
    params.use_camera_wb = 1;
    params.user_flip = 0;
    params.output_bps = 8;
    params.output_color = 1;
    params.use_fuji_rotate = 1;
    require(m_raw->dcraw_process());
    return copyOfProcessed();
}

bool RawSource::holds(const Frame& linear) const
{
    const auto& raw = m_raw->imgdata.rawdata;
    if (raw.sizes.raw_width != linear.width || raw.sizes.raw_height != linear.height)
        return false;
    const auto isSame = [&linear](const auto* pixels) {
        const std::uint16_t* expected = linear.samples;
        for (std::size_t i = 0; i < std::size_t{linear.width} * linear.height; ++i, expected += 3)
            if (pixels[i][0] != expected[0] || pixels[i][1] != expected[1]
                || pixels[i][2] != expected[2])
                return false;
        return true;
    };
    if (raw.color3_image)
        return isSame(raw.color3_image);
    return raw.color4_image && isSame(raw.color4_image);
}

} // namespace dng
