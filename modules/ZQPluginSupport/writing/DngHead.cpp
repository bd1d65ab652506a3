#include "ZQPluginSupport/writing/DngHead.h"

#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/writing/MemoryTiff.h"

#include <algorithm>
#include <vector>

namespace dng {

namespace {

constexpr std::uint32_t kReduced = 1; // NewSubfileType of what is made for a list
constexpr std::uint16_t kLinearRaw = 34892;
constexpr std::uint16_t kMosaicLayout = 1; // rows and columns stand at right angles
constexpr std::uint32_t kTagBackwardVersion = 50707;

std::vector<float> asFloats(const std::vector<double>& values)
{
    return {values.begin(), values.end()};
}

// Whose camera it is, and its own name; some makers repeat themselves.
std::string cameraName(const SensorFacts& facts)
{
    if (facts.make.empty() || facts.model.starts_with(facts.make))
        return facts.model.empty() ? "unknown" : facts.model;
    return facts.make + ' ' + facts.model;
}

// The library takes no tag of a directory any more once it was given bytes for it.
class Head {
public:
    explicit Head(const HeadPlan& plan)
        : m_plan(plan)
        , m_facts(*plan.facts)
    {
    }

    std::string make()
    {
        if (m_plan.preview) {
            addThumbnail();
            addCamera();
            const std::vector<std::uint64_t> below(2, 0);
            m_tiff.set(TIFFTAG_SUBIFD, std::uint16_t{2}, below.data());
            m_tiff.addStrip(m_plan.preview->thumbnail->bytes);
            m_tiff.endDirectory();
            addRaw();
            addRawPlaces();
            m_tiff.endDirectory();
            addPreview();
            m_tiff.addStrip({});
        } else {
            addRaw();
            addCamera();
            addRawPlaces();
        }
        m_tiff.endDirectory();
        return m_tiff.finish();
    }

private:
    void addThumbnail()
    {
        const RenderedPicture& picture = *m_plan.preview->thumbnail;
        m_tiff.set(TIFFTAG_SUBFILETYPE, kReduced);
        addSize(picture.width, picture.height);
        addSamples(3, 8, PHOTOMETRIC_RGB);
        m_tiff.set(TIFFTAG_COMPRESSION, std::uint16_t{COMPRESSION_NONE});
        m_tiff.set(TIFFTAG_ROWSPERSTRIP, picture.height);
    }

    void addPreview()
    {
        m_tiff.set(TIFFTAG_SUBFILETYPE, kReduced);
        addSize(m_plan.preview->width, m_plan.preview->height);
        addSamples(3, 8, PHOTOMETRIC_YCBCR);
        const std::uint16_t halved[2] = {2, 2};
        m_tiff.set(TIFFTAG_YCBCRSUBSAMPLING, halved[0], halved[1]);
        m_tiff.set(TIFFTAG_COMPRESSION, std::uint16_t{COMPRESSION_JPEG});
        m_tiff.set(TIFFTAG_ROWSPERSTRIP, m_plan.preview->height);
    }

    void addRaw()
    {
        m_tiff.set(TIFFTAG_SUBFILETYPE, std::uint32_t{0});
        addSize(m_plan.width, m_plan.height);
        const bool isMosaic = m_facts.hasMosaic();
        addSamples(m_plan.samplesPerPixel, 16, isMosaic ? PHOTOMETRIC_CFA : kLinearRaw);
        if (isMosaic)
            addMosaic();
        addLevels();
        addGeometry();
        addCutting();
    }

    void addSize(std::uint32_t width, std::uint32_t height)
    {
        m_tiff.set(TIFFTAG_IMAGEWIDTH, width);
        m_tiff.set(TIFFTAG_IMAGELENGTH, height);
    }

    void addSamples(unsigned int count, unsigned int bits, std::uint16_t kind)
    {
        m_tiff.set(TIFFTAG_SAMPLESPERPIXEL, static_cast<std::uint16_t>(count));
        m_tiff.set(TIFFTAG_BITSPERSAMPLE, static_cast<std::uint16_t>(bits));
        m_tiff.set(TIFFTAG_PHOTOMETRIC, kind);
        m_tiff.set(TIFFTAG_PLANARCONFIG, std::uint16_t{PLANARCONFIG_CONTIG});
    }

    void addMosaic()
    {
        const auto& mosaic = m_facts.mosaic;
        m_tiff.setArray(TIFFTAG_CFAREPEATPATTERNDIM,
            std::vector<std::uint16_t>{static_cast<std::uint16_t>(mosaic.rows),
                static_cast<std::uint16_t>(mosaic.columns)});
        m_tiff.setArray(TIFFTAG_CFAPATTERN, mosaic.values);
        m_tiff.setArray(TIFFTAG_CFAPLANECOLOR, m_facts.planes);
        m_tiff.set(TIFFTAG_CFALAYOUT, kMosaicLayout);
    }

    void addLevels()
    {
        const auto& black = m_facts.black;
        m_tiff.setArray(TIFFTAG_BLACKLEVELREPEATDIM,
            std::vector<std::uint16_t>{
                static_cast<std::uint16_t>(black.rows), static_cast<std::uint16_t>(black.columns)});
        std::vector<float> levels;
        for (const std::uint32_t level : black.values)
            levels.insert(levels.end(), m_plan.samplesPerPixel, static_cast<float>(level));
        m_tiff.setArray(TIFFTAG_BLACKLEVEL, levels);
        m_tiff.setArray(
            TIFFTAG_WHITELEVEL, std::vector<std::uint32_t>(m_plan.samplesPerPixel, m_facts.white));
    }

    void addGeometry()
    {
        const auto aspect = static_cast<float>(m_facts.aspect);
        m_tiff.setArray(TIFFTAG_DEFAULTSCALE,
            aspect >= 1 ? std::vector<float>{aspect, 1} : std::vector<float>{1, 1 / aspect});
        m_tiff.setArray(TIFFTAG_DEFAULTCROPORIGIN, std::vector<float>{0, 0});
        m_tiff.setArray(TIFFTAG_DEFAULTCROPSIZE,
            std::vector<float>{static_cast<float>(m_facts.active.width()),
                static_cast<float>(m_facts.active.height())});
        m_tiff.setArray(TIFFTAG_ACTIVEAREA,
            std::vector<std::uint32_t>{m_facts.active.top,
                m_facts.active.left,
                m_facts.active.bottom,
                m_facts.active.right});
    }

    void addCutting()
    {
        m_tiff.set(TIFFTAG_COMPRESSION,
            static_cast<std::uint16_t>(m_plan.tiles ? COMPRESSION_JPEG : COMPRESSION_NONE));
        if (m_plan.tiles) {
            m_tiff.set(TIFFTAG_TILEWIDTH, m_plan.tiles->width);
            m_tiff.set(TIFFTAG_TILELENGTH, m_plan.tiles->height);
        } else {
            m_tiff.set(TIFFTAG_ROWSPERSTRIP, m_plan.height);
        }
    }

    void addRawPlaces()
    {
        if (m_plan.tiles)
            m_tiff.addEmptyTiles(tileCount(m_plan));
        else
            m_tiff.addStrip({});
    }

    void addCamera()
    {
        const bool isSixBySix = m_facts.mosaic.rows > 2 || m_facts.mosaic.columns > 2;
        m_tiff.setArray(TIFFTAG_DNGVERSION, std::vector<std::uint8_t>{1, 4, 0, 0});
        m_tiff.setArray(kTagBackwardVersion,
            std::vector<std::uint8_t>{1, static_cast<std::uint8_t>(isSixBySix ? 4 : 1), 0, 0});
        m_tiff.set(TIFFTAG_UNIQUECAMERAMODEL, cameraName(m_facts).c_str());
        m_tiff.set(TIFFTAG_MAKE, m_facts.make.c_str());
        m_tiff.set(TIFFTAG_MODEL, m_facts.model.c_str());
        m_tiff.set(TIFFTAG_ORIENTATION, static_cast<std::uint16_t>(m_facts.orientation));
        if (m_facts.hasColors())
            addColors();
        addOriginal();
    }

    void addColors()
    {
        addMatrix(m_facts.matrix, TIFFTAG_COLORMATRIX1, TIFFTAG_CALIBRATIONILLUMINANT1);
        addMatrix(m_facts.secondMatrix, TIFFTAG_COLORMATRIX2, TIFFTAG_CALIBRATIONILLUMINANT2);
        m_tiff.setArray(TIFFTAG_ASSHOTNEUTRAL, asFloats(m_facts.neutral));
    }

    void addMatrix(const ColorMatrix& matrix, std::uint32_t tag, std::uint32_t illuminantTag)
    {
        if (!matrix.isThere())
            return;
        m_tiff.setArray(tag, asFloats(matrix.values));
        m_tiff.set(illuminantTag, static_cast<std::uint16_t>(matrix.illuminant));
    }

    void addOriginal()
    {
        m_tiff.setArray(TIFFTAG_DNGPRIVATEDATA,
            std::vector<std::uint8_t>(m_plan.record.begin(), m_plan.record.end()));
        if (!m_plan.embedsOriginal)
            return;
        m_tiff.setArray(TIFFTAG_ORIGINALRAWFILENAME,
            std::vector<std::uint8_t>(m_plan.originalName.begin(), m_plan.originalName.end()));
        m_tiff.setArray(TIFFTAG_ORIGINALRAWFILEDATA, std::vector<std::uint8_t>(8, 0));
    }

    const HeadPlan& m_plan;
    const SensorFacts& m_facts;
    MemoryTiff m_tiff;
};

} // namespace

std::uint32_t tileCount(const HeadPlan& plan)
{
    const auto steps = [](std::uint32_t length, std::uint32_t step) {
        return (length + step - 1) / step;
    };
    return steps(plan.width, plan.tiles->width) * steps(plan.height, plan.tiles->height);
}

std::string makeDngHead(const HeadPlan& plan)
{
    return Head(plan).make();
}

} // namespace dng
