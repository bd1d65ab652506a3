// Numbers of EXIF fields, held against what they can be: fields of any type and length, fractions
// without a denominator and values out of bounds give nothing.
#pragma once

#include <optional>

#include <exiv2/exiv2.hpp>

namespace pictures {

struct Bounds {
    double least = 0;
    double most = 0;
};

// The n-th number of a field.
std::optional<double> numberOf(const Exiv2::Metadatum& field, long n, Bounds bounds);

std::optional<double> exifNumber(const Exiv2::ExifData& exif, const char* key, Bounds bounds);

} // namespace pictures
