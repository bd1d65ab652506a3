#include "pictures/facts/ExifReading.h"

#include "pictures/facts/ExifNumbers.h"
#include "pictures/facts/Position.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

#include <exiv2/exiv2.hpp>

namespace pictures {

namespace {

QString cleaned(const std::string& text)
{
    const std::size_t end = text.find('\0');
    return QString::fromUtf8(text.substr(0, end).c_str()).simplified();
}

// Where the library has no name for the number that a maker uses, it gives the number.
bool isName(const QString& text)
{
    return text.size() > 2 && text.front() != u'(' && text.front() != u'-'
        && text.compare(QStringLiteral("n/a"), Qt::CaseInsensitive) != 0
        && text.compare(QStringLiteral("Unknown"), Qt::CaseInsensitive) != 0
        && !std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); });
}

QString lensOf(const Exiv2::ExifData& exif)
{
    const auto model = exif.findKey(Exiv2::ExifKey("Exif.Photo.LensModel"));
    if (model != exif.end() && isName(cleaned(model->toString())))
        return cleaned(model->toString());
    const auto found = Exiv2::lensName(exif);
    const QString name = found == exif.end() ? QString() : cleaned(found->print(&exif));
    return isName(name) ? name : QString();
}

QString cameraOf(const Exiv2::ExifData& exif)
{
    const auto maker = Exiv2::make(exif);
    const auto model = Exiv2::model(exif);
    return cameraName(maker == exif.end() ? std::string() : maker->toString(),
        model == exif.end() ? std::string() : model->toString());
}

// In the field itself, or else as the power of two that some cameras write instead.
std::optional<double> exposureOf(const Exiv2::ExifData& exif)
{
    constexpr Bounds kSeconds{1e-6, 86'400};
    if (const auto seconds = exifNumber(exif, "Exif.Photo.ExposureTime", kSeconds))
        return seconds;
    const auto power = exifNumber(exif, "Exif.Photo.ShutterSpeedValue", {-17, 20});
    return power ? std::optional(std::exp2(-*power)) : std::nullopt;
}

std::optional<double> apertureOf(const Exiv2::ExifData& exif)
{
    constexpr Bounds kNumbers{0.5, 200};
    if (const auto number = exifNumber(exif, "Exif.Photo.FNumber", kNumbers))
        return number;
    const auto power = exifNumber(exif, "Exif.Photo.ApertureValue", {0.01, 15});
    return power ? std::optional(std::exp2(*power / 2)) : std::nullopt;
}

std::optional<int> sensitivityOf(const Exiv2::ExifData& exif)
{
    constexpr Bounds kIso{1, 100'000'000};
    const auto found = Exiv2::isoSpeed(exif);
    const auto value = found == exif.end() ? std::nullopt : numberOf(*found, 0, kIso);
    return value ? std::optional(static_cast<int>(*value)) : std::nullopt;
}

} // namespace

QString cameraName(const std::string& maker, const std::string& model)
{
    const QString brand = cleaned(maker);
    QString type = cleaned(model);
    const QStringList words = brand.split(u' ');
    const bool isRepeated = type.startsWith(words.front(), Qt::CaseInsensitive)
        || words.contains(type.section(u' ', 0, 0), Qt::CaseInsensitive);
    if (brand.isEmpty() || (isRepeated && !type.isEmpty()))
        return type;
    return type.isEmpty() ? brand : brand + u' ' + type;
}

PictureFacts exifFacts(const Exiv2::Image& image)
{
    const Exiv2::ExifData& exif = image.exifData();
    PictureFacts facts;
    facts.camera = cameraOf(exif);
    facts.lens = lensOf(exif);
    facts.exposureSeconds = exposureOf(exif);
    facts.aperture = apertureOf(exif);
    facts.sensitivity = sensitivityOf(exif);
    facts.focalLength = exifNumber(exif, "Exif.Photo.FocalLength", {0.1, 20'000});
    auto position = exifPosition(exif);
    if (!position)
        position = xmpPosition(image.xmpData());
    if (position) {
        facts.latitude = position->latitude;
        facts.longitude = position->longitude;
    }
    return facts;
}

} // namespace pictures
