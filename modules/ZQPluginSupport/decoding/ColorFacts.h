// How a camera sees colours, from what the raw library knows of it. Plain functions; any thread.
#pragma once

#include "ZQPluginSupport/decoding/SensorFacts.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include <libraw_types.h>

namespace dng {

// Of a colour's letter, as EXIF numbers them.
std::uint8_t colorCode(char letter);

// The camera's colours, in the order in which its matrix has them.
std::vector<std::uint8_t> planesOf(const libraw_iparams_t& camera);

// What is white, from the factors that make it grey; none if one of them is no factor.
std::vector<double> neutralOf(const float* factors, std::size_t planes);

// The library's own for this camera, else what its way to sRGB comes to.
ColorMatrix matrixOf(const libraw_colordata_t& color, std::size_t planes);

// Those that a DNG brings itself, in place of the library's.
void takeOwnMatrices(const libraw_colordata_t& color, std::size_t planes, SensorFacts& facts);

} // namespace dng
