#include "pictures/facts/Position.h"

#include "pictures/facts/ExifNumbers.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace pictures {

namespace {

constexpr double kMaxLatitude = 90;
constexpr double kMaxLongitude = 180;
constexpr Bounds kSixties{0, 60}; // minutes and seconds; some writers round up to a whole one

std::optional<double> within(std::optional<double> degrees, double most)
{
    return degrees && std::abs(*degrees) <= most ? degrees : std::nullopt;
}

std::optional<Position> positionOf(std::optional<double> latitude, std::optional<double> longitude)
{
    latitude = within(latitude, kMaxLatitude);
    longitude = within(longitude, kMaxLongitude);
    return latitude && longitude ? std::optional(Position{*latitude, *longitude}) : std::nullopt;
}

char firstLetter(const Exiv2::ExifData& exif, const char* key)
{
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    const std::string text = found == exif.end() ? std::string() : found->toString();
    return text.empty() ? '\0' : text.front();
}

// Degrees, minutes and seconds, of which the last may be missing.
std::optional<double> exifDegrees(const Exiv2::ExifData& exif, const char* key)
{
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    if (found == exif.end())
        return std::nullopt;
    const auto degrees = numberOf(*found, 0, {0, kMaxLongitude});
    const auto minutes = numberOf(*found, 1, kSixties);
    if (!degrees || !minutes)
        return std::nullopt;
    const auto seconds = numberOf(*found, 2, kSixties).value_or(0);
    return *degrees + *minutes / 60 + seconds / 3600;
}

std::optional<double> signedDegrees(
    std::optional<double> degrees, char letter, char positive, char negative)
{
    if (!degrees || (letter != positive && letter != negative))
        return std::nullopt;
    return letter == negative ? -*degrees : *degrees;
}

// The numbers between commas; nothing for another text.
std::optional<std::array<double, 3>> commaNumbers(std::string_view text)
{
    std::array<double, 3> numbers{};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto [end, error] =
            std::from_chars(text.data(), text.data() + text.size(), numbers[i]);
        if (error != std::errc() || numbers[i] < 0 || (i > 0 && numbers[i] > kSixties.most))
            return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (text.empty())
            return i > 0 ? std::optional(numbers) : std::nullopt;
        if (text.front() != ',')
            return std::nullopt;
        text.remove_prefix(1);
    }
    return std::nullopt;
}

std::string xmpText(const Exiv2::XmpData& xmp, const char* key)
{
    const auto found = xmp.findKey(Exiv2::XmpKey(key));
    return found == xmp.end() ? std::string() : found->toString();
}

} // namespace

std::optional<double> xmpDegrees(const std::string& text, char positive, char negative)
{
    if (text.empty())
        return std::nullopt;
    const auto numbers = commaNumbers(std::string_view(text).substr(0, text.size() - 1));
    const auto degrees = numbers
        ? std::optional((*numbers)[0] + (*numbers)[1] / 60 + (*numbers)[2] / 3600)
        : std::nullopt;
    return signedDegrees(degrees, text.back(), positive, negative);
}

// A receiver without a fix says so, and writes what it wrote last.
std::optional<Position> exifPosition(const Exiv2::ExifData& exif)
{
    if (firstLetter(exif, "Exif.GPSInfo.GPSStatus") == 'V')
        return std::nullopt;
    return positionOf(signedDegrees(exifDegrees(exif, "Exif.GPSInfo.GPSLatitude"),
                          firstLetter(exif, "Exif.GPSInfo.GPSLatitudeRef"),
                          'N',
                          'S'),
        signedDegrees(exifDegrees(exif, "Exif.GPSInfo.GPSLongitude"),
            firstLetter(exif, "Exif.GPSInfo.GPSLongitudeRef"),
            'E',
            'W'));
}

std::optional<Position> xmpPosition(const Exiv2::XmpData& xmp)
{
    return positionOf(xmpDegrees(xmpText(xmp, "Xmp.exif.GPSLatitude"), 'N', 'S'),
        xmpDegrees(xmpText(xmp, "Xmp.exif.GPSLongitude"), 'E', 'W'));
}

} // namespace pictures
