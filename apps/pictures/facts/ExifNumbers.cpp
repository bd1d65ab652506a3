#include "pictures/facts/ExifNumbers.h"

#include <cstdint>

namespace pictures {

namespace {

bool isFraction(const Exiv2::Metadatum& field)
{
    return field.typeId() == Exiv2::unsignedRational || field.typeId() == Exiv2::signedRational;
}

bool isWhole(const Exiv2::Metadatum& field)
{
    switch (field.typeId()) {
    case Exiv2::unsignedByte:
    case Exiv2::signedByte:
    case Exiv2::unsignedShort:
    case Exiv2::signedShort:
    case Exiv2::unsignedLong:
    case Exiv2::signedLong:
        return true;
    default:
        return false;
    }
}

// The library gives unsigned fractions as a pair of signed numbers.
std::optional<double> fraction(const Exiv2::Metadatum& field, long n)
{
    const Exiv2::Rational parts = field.toRational(n);
    if (parts.second == 0)
        return std::nullopt;
    if (field.typeId() == Exiv2::signedRational)
        return static_cast<double>(parts.first) / parts.second;
    return static_cast<double>(static_cast<std::uint32_t>(parts.first))
        / static_cast<std::uint32_t>(parts.second);
}

} // namespace

std::optional<double> numberOf(const Exiv2::Metadatum& field, long n, Bounds bounds)
{
    std::optional<double> value;
    if (n < field.count() && isFraction(field))
        value = fraction(field, n);
    else if (n < field.count() && isWhole(field))
        value = static_cast<double>(field.toLong(n));
    return value && *value >= bounds.least && *value <= bounds.most ? value : std::nullopt;
}

std::optional<double> exifNumber(const Exiv2::ExifData& exif, const char* key, Bounds bounds)
{
    const auto found = exif.findKey(Exiv2::ExifKey(key));
    return found == exif.end() ? std::nullopt : numberOf(*found, 0, bounds);
}

} // namespace pictures
