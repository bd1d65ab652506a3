// The bytes of the files on a made card: photos that any viewer shows, a camera raw file, a movie,
// a sidecar, each with the dates that a camera writes. Made in memory, the same for the same
// arguments. Exiv2's state is shared: one thread.
#pragma once

#include "support/NoiseSource.h"
#include "support/cards/ShotTime.h"

#include <cstddef>
#include <string>

namespace tests {

// A JPEG without metadata: a sunset of its own for each noise, grainy enough to take about
// `size` bytes (within a tenth from 20,000 bytes on; never less than a picture takes without
// grain). Throws std::runtime_error when no JPEG can be written.
std::string plainPhotoBytes(std::size_t size, NoiseSource noise);

// The JPEG or TIFF with the camera's name, the date with hundredths and its offset put in.
std::string withCameraTags(const std::string& image, const ShotTime& time);

// A TIFF of bare sensor values, of about `size` bytes, with the same tags as a photo.
std::string rawBytes(std::size_t size, NoiseSource noise, const ShotTime& time);

// An MP4 of about `size` bytes, without tracks, dated in its header in UTC.
std::string movieBytes(std::size_t size, NoiseSource noise, const ShotTime& time);

// An XMP packet with a rating and a keyword.
std::string sidecarBytes();

} // namespace tests
