#include "pictures/decoding/JpegDecoder.h"

#include "pictures/decoding/ExifSegment.h"
#include "pictures/decoding/Orientation.h"

#include <algorithm>
#include <cstdlib>

#include <jerror.h>

namespace pictures {

namespace {

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr unsigned int kWholeSegment = 0xFFFF;

// Encoders make about ten scans. More are allowed as long as they are cheap.
constexpr int kUsualScans = 40;
constexpr int kMaxScans = 500;
constexpr qint64 kMaxScannedPixels = 4'000'000'000;

constexpr std::array<JOCTET, 2> kEndOfImage{0xFF, JPEG_EOI};
constexpr int kRowsAtOnce = 16;
constexpr QRgb kMissing = qRgb(128, 128, 128); // what the library shows for blocks without data

#if Q_BYTE_ORDER == Q_LITTLE_ENDIAN
constexpr J_COLOR_SPACE kPixelOrder = JCS_EXT_BGRA;
#else
constexpr J_COLOR_SPACE kPixelOrder = JCS_EXT_ARGB;
#endif

int product(int value, int factor)
{
    return value * factor / 255;
}

} // namespace

JpegDecoder::JpegDecoder(ByteSource& source, const std::atomic<bool>* cancelled)
    : m_source(source)
    , m_cancelled(cancelled)
{
    m_info.err = jpeg_std_error(&m_errors.base);
    m_errors.base.error_exit = onError;
    m_errors.base.emit_message = onMessage;
    m_progress.decoder = this;
    m_progress.base.progress_monitor = onProgress;
}

JpegDecoder::~JpegDecoder()
{
    jpeg_destroy_decompress(&m_info);
}

// A jump out of `step` lands here: nothing with a destructor may live in it or above it.
template <typename Step>
bool JpegDecoder::succeeds(Step step)
{
    if (setjmp(m_errors.jump) != 0)
        return false;
    step();
    return true;
}

void JpegDecoder::onError(j_common_ptr info)
{
    auto* errors = reinterpret_cast<Errors*>(info->err);
    errors->base.format_message(info, errors->text.data());
    std::longjmp(errors->jump, 1);
}

// Warnings are counted, as the library does, and printed nowhere.
void JpegDecoder::onMessage(j_common_ptr info, int level)
{
    if (level < 0)
        ++info->err->num_warnings;
}

// Without more bytes the library is told that the picture ends here: it then fills up what is
// missing.
boolean JpegDecoder::onEmpty(j_decompress_ptr info)
{
    JpegDecoder& decoder = *reinterpret_cast<Source*>(info->src)->decoder;
    const std::span<const unsigned char> piece = decoder.m_source.next();
    if (piece.empty())
        decoder.noteEnd();
    info->src->next_input_byte = piece.empty() ? kEndOfImage.data() : piece.data();
    info->src->bytes_in_buffer = piece.empty() ? kEndOfImage.size() : piece.size();
    return TRUE;
}

void JpegDecoder::onSkip(j_decompress_ptr info, long count)
{
    auto left = static_cast<std::size_t>(std::max(count, 0L));
    JpegDecoder& decoder = *reinterpret_cast<Source*>(info->src)->decoder;
    while (left > info->src->bytes_in_buffer && !decoder.m_ended) {
        left -= info->src->bytes_in_buffer;
        onEmpty(info);
    }
    left = std::min(left, info->src->bytes_in_buffer);
    if (decoder.m_ended)
        return;
    info->src->next_input_byte += left;
    info->src->bytes_in_buffer -= left;
}

void JpegDecoder::onProgress(j_common_ptr info)
{
    const JpegDecoder& decoder = *reinterpret_cast<Progress*>(info->progress)->decoder;
    if (decoder.hasTooManyScans())
        ERREXIT(info, JERR_BAD_PROGRESSION);
    if (decoder.isCancelled())
        ERREXIT(info, JERR_CANT_SUSPEND);
}

// Something is there once a row of blocks was read, or part of the only one.
void JpegDecoder::noteEnd()
{
    if (m_ended)
        return;
    m_ended = true;
    m_rowOfEnd = m_info.input_iMCU_row;
    const bool isFirstScan = m_info.input_scan_number <= 1;
    const bool isFirstRow = m_info.input_iMCU_row == 0 && m_info.total_iMCU_rows != 1;
    m_endedWithNothing = isFirstScan && isFirstRow;
}

bool JpegDecoder::hasTooManyScans() const
{
    const qint64 pixels = qint64{m_info.image_width} * m_info.image_height;
    return m_info.input_scan_number > kMaxScans
        || (m_info.input_scan_number > kUsualScans
            && m_info.input_scan_number * pixels > kMaxScannedPixels);
}

bool JpegDecoder::isCancelled() const
{
    return m_cancelled != nullptr && m_cancelled->load(std::memory_order_relaxed);
}

void JpegDecoder::setUpSource()
{
    m_info.progress = &m_progress.base;
    m_info.src = &m_reading.base;
    m_reading.decoder = this;
    m_reading.base.init_source = [](j_decompress_ptr) {};
    m_reading.base.fill_input_buffer = onEmpty;
    m_reading.base.skip_input_data = onSkip;
    m_reading.base.resync_to_restart = jpeg_resync_to_restart;
    m_reading.base.term_source = [](j_decompress_ptr) {};
    jpeg_save_markers(&m_info, kExifMarker, kWholeSegment);
    jpeg_save_markers(&m_info, kProfileMarker, kWholeSegment);
}

bool JpegDecoder::readHeader()
{
    return succeeds([this] {
        jpeg_create_decompress(&m_info);
        setUpSource();
        jpeg_read_header(&m_info, TRUE);
        chooseColors();
    });
}

void JpegDecoder::chooseColors()
{
    const bool fourInks =
        m_info.jpeg_color_space == JCS_CMYK || m_info.jpeg_color_space == JCS_YCCK;
    m_info.out_color_space = fourInks ? JCS_CMYK : kPixelOrder;
}

QSize JpegDecoder::size() const
{
    return {static_cast<int>(m_info.image_width), static_cast<int>(m_info.image_height)};
}

std::optional<int> JpegDecoder::orientation() const
{
    for (const jpeg_marker_struct* marker = m_info.marker_list; marker; marker = marker->next)
        if (marker->marker == kExifMarker)
            if (const auto found = orientationOfSegment({marker->data, marker->data_length}))
                return found;
    return std::nullopt;
}

QByteArray JpegDecoder::exifThumbnail() const
{
    for (const jpeg_marker_struct* marker = m_info.marker_list; marker; marker = marker->next) {
        const auto found = marker->marker == kExifMarker
            ? pictures::exifThumbnail(exifOfSegment({marker->data, marker->data_length}))
            : std::span<const unsigned char>();
        if (!found.empty())
            return {
                reinterpret_cast<const char*>(found.data()), static_cast<qsizetype>(found.size())};
    }
    return {};
}

QByteArray JpegDecoder::iccProfile()
{
    JOCTET* bytes = nullptr;
    unsigned int length = 0;
    // A warning of broken pieces may become a jump only through a lack of memory.
    if (!succeeds([this, &bytes, &length] { jpeg_read_icc_profile(&m_info, &bytes, &length); })
        || bytes == nullptr)
        return {};
    QByteArray profile(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(length));
    std::free(bytes);
    return profile;
}

// What is scaled down anyway shows no difference to the slower ways of the library.
void JpegDecoder::scaleTo(int eighths)
{
    m_info.scale_num = static_cast<unsigned int>(eighths);
    m_info.scale_denom = 8;
    m_info.do_fancy_upsampling = eighths == 8 ? TRUE : FALSE;
    m_info.dct_method = eighths == 8 ? JDCT_ISLOW : JDCT_IFAST;
}

QSize JpegDecoder::scaledSize() const
{
    const auto scaled = [this](unsigned int edge) {
        return static_cast<int>((qint64{edge} * m_info.scale_num + 7) / 8);
    };
    return {scaled(m_info.image_width), scaled(m_info.image_height)};
}

// The pixels, and once more for turning them or their colours; of a progressive picture all
// coefficients, too.
qint64 JpegDecoder::memoryNeeded() const
{
    qint64 bytes = 2 * 4 * qint64{scaledSize().width()} * scaledSize().height();
    if (!jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&m_info)))
        return bytes;
    for (int i = 0; i < m_info.num_components; ++i) {
        const jpeg_component_info& component = m_info.comp_info[i];
        bytes += qint64{component.width_in_blocks} * component.height_in_blocks * qint64{DCTSIZE2}
            * qint64{sizeof(JCOEF)};
    }
    return bytes;
}

bool JpegDecoder::isAnythingThere() const
{
    return !m_endedWithNothing && m_info.output_scanline > 0;
}

QImage JpegDecoder::decode()
{
    if (!succeeds([this] { jpeg_start_decompress(&m_info); }))
        return {};
    QImage image(static_cast<int>(m_info.output_width),
        static_cast<int>(m_info.output_height),
        QImage::Format_RGB32);
    if (image.isNull())
        return {};
    m_cmykRow.resize(std::size_t{m_info.output_width} * 4);
    // Damage that the library gives up at leaves the rows above it.
    succeeds([this, &image] { readRows(image); });
    if (isCancelled() || !isAnythingThere())
        return {};
    for (int row = static_cast<int>(m_info.output_scanline); row < image.height(); ++row)
        std::fill_n(reinterpret_cast<QRgb*>(image.scanLine(row)), image.width(), kMissing);
    return image;
}

// Behind the last row of blocks that had bytes, and one more that the library holds back. What
// follows in a picture of one scan would be grey, which is quicker done by hand: a header may
// promise a billion pixels.
bool JpegDecoder::isPastTheEnd() const
{
    if (!m_ended || jpeg_has_multiple_scans(const_cast<j_decompress_ptr>(&m_info)))
        return false;
    const qint64 rows = qint64{m_info.output_height} * (qint64{m_rowOfEnd} + 2);
    return m_info.output_scanline > rows / std::max<qint64>(m_info.total_iMCU_rows, 1);
}

// The library asks onProgress() before each row.
void JpegDecoder::readRows(QImage& image)
{
    while (m_info.output_scanline < m_info.output_height && !isPastTheEnd()) {
        if (m_info.out_color_space == JCS_CMYK)
            readCmykRow(image.scanLine(static_cast<int>(m_info.output_scanline)));
        else
            readRgbRows(image);
    }
}

void JpegDecoder::readRgbRows(QImage& image)
{
    std::array<JSAMPROW, kRowsAtOnce> rows{};
    const JDIMENSION left = m_info.output_height - m_info.output_scanline;
    const auto count = std::min<JDIMENSION>(left, kRowsAtOnce);
    for (JDIMENSION i = 0; i < count; ++i)
        rows[i] = image.scanLine(static_cast<int>(m_info.output_scanline + i));
    jpeg_read_scanlines(&m_info, rows.data(), count);
}

// Encoders that name themselves in the way of the trade write the inks inverted.
void JpegDecoder::readCmykRow(uchar* row)
{
    JSAMPROW inks = m_cmykRow.data();
    if (jpeg_read_scanlines(&m_info, &inks, 1) != 1)
        return;
    const int flip = m_info.saw_Adobe_marker ? 0 : 255;
    auto* pixels = reinterpret_cast<QRgb*>(row);
    for (JDIMENSION x = 0; x < m_info.output_width; ++x, inks += 4) {
        const int light = inks[3] ^ flip;
        pixels[x] = qRgb(product(inks[0] ^ flip, light),
            product(inks[1] ^ flip, light),
            product(inks[2] ^ flip, light));
    }
}

QString JpegDecoder::problem() const
{
    if (m_errors.text.front() != '\0')
        return QString::fromLatin1(m_errors.text.data());
    return QStringLiteral("the data ends before the picture begins");
}

} // namespace pictures
