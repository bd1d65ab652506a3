#include "ZQPluginSupport/worker/Conversion.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/encoding/LosslessJpegEncoder.h"
#include "ZQPluginSupport/encoding/TileEncoder.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "ZQPluginSupport/verification/DngCheck.h"
#include "ZQPluginSupport/writing/DngFileWriter.h"
#include "ZQPluginSupport/writing/DngHead.h"
#include "ZQPluginSupport/writing/Preview.h"
#include "ZQPluginSupport/writing/SourceNotes.h"
#include "platform/common/files/FileBytes.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace dng {

namespace {

constexpr std::uint32_t kMediumSide = 1024; // pixels
constexpr std::uint32_t kThumbnailSide = 256;
constexpr int kPreviewQuality = 85;

struct Previews {
    RenderedPicture thumbnail;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint8_t> jpeg;
};

std::span<const std::uint8_t> octets(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// At its full size, as the screen wants pixels; some small pictures the library makes at half of
// it only.
RenderedPicture renderedFully(RawSource& raw)
{
    try {
        return raw.rendered(false);
    } catch (const ConversionFailure&) {
        const RenderedPicture half = raw.rendered(true);
        return scaled(half, half.width * 2, half.height * 2);
    }
}

// At half the size where that is large enough, which takes a tenth of the time.
RenderedPicture renderedMedium(RawSource& raw)
{
    const Area& picture = raw.facts().active;
    const bool isLarge = std::max(picture.width(), picture.height()) >= 2 * kMediumSide;
    return fitted(isLarge ? raw.rendered(true) : renderedFully(raw), kMediumSide);
}

Previews makePreviews(RawSource& raw, PreviewSize size)
{
    Previews previews;
    const RenderedPicture picture =
        size == PreviewSize::kFull ? renderedFully(raw) : renderedMedium(raw);
    previews.width = picture.width;
    previews.height = picture.height;
    previews.jpeg = jpegOf(picture, kPreviewQuality);
    previews.thumbnail = fitted(picture, kThumbnailSide);
    return previews;
}

std::uint16_t largestOf(const Frame& frame)
{
    std::uint16_t largest = 0;
    for (std::uint32_t row = 0; row < frame.height; ++row) {
        const std::uint16_t* const first = frame.samples + row * frame.pitch;
        largest = std::max(largest,
            *std::max_element(first, first + std::size_t{frame.width} * frame.samplesPerPixel));
    }
    return largest;
}

class Conversion {
public:
    Conversion(const ConversionSource& source,
        const ConversionOptions& options,
        int target,
        WorkerThreads& threads,
        const RawSource::Progress& progress)
        : m_source(source)
        , m_options(options)
        , m_target(target)
        , m_threads(threads)
        , m_progress(progress)
        , m_raw(std::in_place, source.raw, progress)
    {
    }

    void run()
    {
        makePicture();
        m_progress();
        writeFile();
        m_progress();
        if (m_options.isVerified)
            verify();
    }

private:
    bool isLinear() const
    {
        return !m_raw->hasValues() || (m_options.isLinear && m_raw->facts().hasColors());
    }

    void makePicture()
    {
        if (m_options.preview != PreviewSize::kNone)
            m_previews = makePreviews(*m_raw, m_options.preview);
        m_progress();
        m_facts = m_raw->facts();
        if (isLinear())
            m_frame = m_raw->linear(m_facts);
        else
            m_frame = m_raw->values();
    }

    OriginalRecord record() const
    {
        Pt::ContentDigester digest;
        digest.add(m_source.raw.data(), m_source.raw.size());
        return {m_source.name, digest.finish()};
    }

    HeadPlan plan()
    {
        HeadPlan plan;
        plan.facts = &m_facts;
        plan.width = m_frame.width;
        plan.height = m_frame.height;
        plan.samplesPerPixel = m_frame.samplesPerPixel;
        if (m_options.isCompressed)
            plan.tiles = chooseTileSize(m_frame.width, m_frame.height);
        if (m_previews)
            plan.preview =
                PreviewFacts{m_previews->width, m_previews->height, &m_previews->thumbnail};
        m_record = record();
        plan.record = formatOriginalRecord(m_record);
        plan.originalName = m_source.name;
        plan.embedsOriginal = m_options.embedsRaw;
        return plan;
    }

    void writeFile()
    {
        const HeadPlan headPlan = plan();
        const SourceNotes notes(m_source.raw, m_source.sidecar);
        DngFileWriter writer(m_target, notes.addTo(makeDngHead(headPlan), m_raw->shot()));
        m_progress();
        if (headPlan.tiles)
            writeTiles(writer, *headPlan.tiles);
        else
            writeStrip(writer);
        m_progress();
        if (m_previews)
            writer.addPreview(m_previews->jpeg);
        if (m_options.embedsRaw)
            writeOriginal(writer);
        m_written = writer.finish();
    }

    void writeTiles(DngFileWriter& writer, const TileSize& size)
    {
        TileCoding coding;
        coding.isMosaic = m_facts.hasMosaic();
        coding.precision = precisionFor(std::max(largestOf(m_frame),
            static_cast<std::uint16_t>(std::min<std::uint32_t>(m_facts.white, 65535))));
        coding.repeat = m_facts.hasMosaic() && m_facts.mosaic.rows == 6 ? 6 : 0;
        TileEncoder encoder(m_threads);
        for (const EncodedTile& tile : encoder.encode(m_frame, size, coding))
            writer.addRawPart(std::as_bytes(std::span(tile)));
    }

    void writeStrip(DngFileWriter& writer)
    {
        const std::size_t columns = std::size_t{m_frame.width} * m_frame.samplesPerPixel;
        std::vector<std::uint16_t> rows;
        std::span<const std::uint16_t> all(m_frame.samples, columns * m_frame.height);
        if (m_frame.pitch != columns) {
            for (std::uint32_t row = 0; row < m_frame.height; ++row)
                rows.insert(rows.end(),
                    m_frame.samples + row * m_frame.pitch,
                    m_frame.samples + row * m_frame.pitch + columns);
            all = rows;
        }
        writer.addRawPart(std::as_bytes(all));
    }

    void writeOriginal(DngFileWriter& writer)
    {
        const MemorySource raw(octets(m_source.raw));
        const MemorySource thumbnail(octets(m_source.thumbnail));
        const auto original = EmbeddedOriginal::of(
            raw, m_source.thumbnail.empty() ? nullptr : &thumbnail, &m_threads);
        if (!original)
            throw ConversionFailure(kZQPluginTooLarge);
        original->write([&writer](std::span<const std::uint8_t> bytes) {
            writer.addOriginalPiece(bytes);
            return true;
        });
    }

    // Colours that were computed are computed again, from the file.
    void verify()
    {
        const std::vector<std::byte> dng = readBack(m_target);
        if (!holds(dng, m_written))
            throw ConversionFailure(kZQPluginNotVerified);
        m_progress();
        if (m_frame.samplesPerPixel == 3) {
            m_raw.emplace(m_source.raw, m_progress);
            m_frame = m_raw->linear(m_facts);
        }
        checkDng(dng, {m_frame, m_facts, m_record, m_options.embedsRaw}, m_progress);
    }

    const ConversionSource& m_source;
    const ConversionOptions& m_options;
    int m_target;
    WorkerThreads& m_threads;
    const RawSource::Progress& m_progress;
    std::optional<RawSource> m_raw;
    std::optional<Previews> m_previews;
    SensorFacts m_facts;
    Frame m_frame; // lies in m_raw
    OriginalRecord m_record;
    WrittenBytes m_written;
};

} // namespace

void convert(const ConversionSource& source,
    const ConversionOptions& options,
    int target,
    WorkerThreads& threads,
    const RawSource::Progress& progress)
{
    Conversion(source, options, target, threads, progress).run();
    if (!options.isVerified && Pt::flushAndForget(target))
        throw ConversionFailure(kZQPluginWriteFailed);
}

} // namespace dng
