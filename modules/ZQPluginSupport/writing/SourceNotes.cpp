#include "ZQPluginSupport/writing/SourceNotes.h"

#include "ZQPluginSupport/ConversionFailure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>

#include <exiv2/exiv2.hpp>

namespace dng {

namespace {

// Of the first directory, which describes the picture in the raw file: what describes the shot.
constexpr std::array<std::string_view, 12> kKeptOfFirst = {"Make",
    "Model",
    "DateTime",
    "Software",
    "Artist",
    "Copyright",
    "ImageDescription",
    "HostComputer",
    "Rating",
    "RatingPercent",
    "DocumentName",
    "TimeZoneOffset"};

// Of the shot, too: older cameras have these in the first directory, where no reader of a DNG looks
// for them. TIFF/EP, ISO 12234-2.
constexpr std::array<std::string_view, 17> kMovedFromFirst = {"ExposureTime",
    "FNumber",
    "ExposureProgram",
    "SpectralSensitivity",
    "ISOSpeedRatings",
    "DateTimeOriginal",
    "ShutterSpeedValue",
    "ApertureValue",
    "BrightnessValue",
    "ExposureBiasValue",
    "MaxApertureValue",
    "SubjectDistance",
    "MeteringMode",
    "LightSource",
    "Flash",
    "FocalLength",
    "ExposureIndex"};

// Where things lie in a file; the new one has places of its own.
constexpr std::array<std::string_view, 4> kPointers = {
    "ExifTag", "GPSTag", "SubIFDs", "InteroperabilityTag"};

template <typename List>
bool holds(const List& list, std::string_view name)
{
    return std::find(list.begin(), list.end(), name) != list.end();
}

bool isKept(const Exiv2::Exifdatum& datum)
{
    const std::string group = datum.groupName();
    const std::string name = datum.tagName();
    if (group == "Image")
        return holds(kKeptOfFirst, name);
    return !group.starts_with("Image") && !group.starts_with("SubImage")
        && !group.starts_with("Thumbnail") && !group.starts_with("SubThumb")
        && !holds(kPointers, name);
}

std::unique_ptr<Exiv2::Image> openImage(std::span<const std::byte> bytes)
{
    auto image = Exiv2::ImageFactory::open(
        reinterpret_cast<const Exiv2::byte*>(bytes.data()), static_cast<long>(bytes.size()));
    return std::unique_ptr<Exiv2::Image>(image.release());
}

Exiv2::Rational rationalOf(double value)
{
    if (value > 0 && value < 0.3)
        return {1, static_cast<std::int32_t>(std::lround(1 / value))};
    return {static_cast<std::int32_t>(std::lround(std::min(value, 1e5) * 1000)), 1000};
}

void addMissing(Exiv2::ExifData& data, const char* key, double value)
{
    if (!(value > 0) || !std::isfinite(value) || data.findKey(Exiv2::ExifKey(key)) != data.end())
        return;
    const Exiv2::Rational number = rationalOf(value);
    data[key] = Exiv2::URational(
        static_cast<std::uint32_t>(number.first), static_cast<std::uint32_t>(number.second));
}

void addShot(Exiv2::ExifData& data, const ShotFacts& shot)
{
    addMissing(data, "Exif.Photo.ExposureTime", shot.seconds);
    addMissing(data, "Exif.Photo.FNumber", shot.aperture);
    addMissing(data, "Exif.Photo.FocalLength", shot.focalLength);
    if (shot.sensitivity >= 1 && shot.sensitivity < 65536
        && data.findKey(Exiv2::ExifKey("Exif.Photo.ISOSpeedRatings")) == data.end())
        data["Exif.Photo.ISOSpeedRatings"] = static_cast<std::uint16_t>(shot.sensitivity);
}

} // namespace

struct SourceNotes::Notes {
    Exiv2::ExifData exif;
    Exiv2::XmpData xmp;

    void readRaw(std::span<const std::byte> raw)
    {
        const std::unique_ptr<Exiv2::Image> image = openImage(raw);
        image->readMetadata();
        for (const Exiv2::Exifdatum& datum : image->exifData())
            if (isKept(datum))
                exif.add(datum);
        for (const Exiv2::Exifdatum& datum : image->exifData())
            if (datum.groupName() == "Image" && holds(kMovedFromFirst, datum.tagName()))
                move(datum);
        xmp = image->xmpData();
    }

    void clear()
    {
        exif.clear();
        xmp.clear();
    }

    void move(const Exiv2::Exifdatum& datum)
    {
        const Exiv2::ExifKey key("Exif.Photo." + datum.tagName());
        if (exif.findKey(key) == exif.end())
            exif.add(key, &datum.value());
    }

    // Later than what the raw file says, and so in place of it.
    void readSidecar(std::span<const std::byte> sidecar)
    {
        Exiv2::XmpData beside;
        const std::string text(reinterpret_cast<const char*>(sidecar.data()), sidecar.size());
        if (text.empty() || Exiv2::XmpParser::decode(beside, text) != 0)
            return;
        for (const Exiv2::Xmpdatum& datum : beside) {
            const auto old = xmp.findKey(Exiv2::XmpKey(datum.key()));
            if (old != xmp.end())
                xmp.erase(old);
            xmp.add(datum);
        }
    }
};

SourceNotes::SourceNotes(std::span<const std::byte> raw, std::span<const std::byte> sidecar)
    : m_notes(std::make_unique<Notes>())
{
    // Files without notes that anybody can read are converted all the same.
    try {
        m_notes->readRaw(raw);
    } catch (const Exiv2::AnyError&) {
        m_notes->clear();
    }
    try {
        m_notes->readSidecar(sidecar);
    } catch (const Exiv2::AnyError&) {
        return; // what was read of it before is as good as the rest
    }
}

SourceNotes::~SourceNotes() = default;

void SourceNotes::warmUp()
{
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::XmpParser::initialize();
}

std::string SourceNotes::addTo(const std::string& head, const ShotFacts& shot) const
try {
    const std::unique_ptr<Exiv2::Image> image =
        openImage(std::as_bytes(std::span(head.data(), head.size())));
    image->readMetadata();
    Exiv2::ExifData& data = image->exifData();
    for (const Exiv2::Exifdatum& datum : m_notes->exif) {
        const auto old = data.findKey(Exiv2::ExifKey(datum.key()));
        if (datum.groupName() == "Image" && old != data.end())
            data.erase(old);
        data.add(datum);
    }
    addShot(data, shot);
    if (!m_notes->xmp.empty())
        image->setXmpData(m_notes->xmp);
    image->writeMetadata();
    Exiv2::BasicIo& io = image->io();
    if (io.open() != 0 || io.seek(0, Exiv2::BasicIo::beg) != 0)
        throw ConversionFailure(kZQPluginTooLarge);
    const Exiv2::DataBuf bytes = io.read(static_cast<long>(io.size()));
    return std::string(
        reinterpret_cast<const char*>(bytes.pData_), static_cast<std::size_t>(bytes.size_));
} catch (const Exiv2::AnyError&) {
    throw ConversionFailure(kZQPluginDamaged);
}

} // namespace dng
