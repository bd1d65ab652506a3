// When a picture on a made card was taken, as the camera's clock shows it, and the texts that
// cameras write of that.
#pragma once

#include <chrono>
#include <string>

namespace tests {

struct ShotTime {
    std::chrono::sys_seconds local; // what the clock on the camera shows, its zone left aside
    int hundredths = 0; // of the second, 0 to 99
    std::chrono::minutes offset{0}; // east of UTC, less than a day

    std::chrono::sys_seconds utc() const { return local - offset; }
};

// "2024:06:14 08:12:05"
std::string exifDate(const ShotTime& time);

// "20"
std::string exifSubSeconds(const ShotTime& time);

// "+02:00"
std::string exifOffset(const ShotTime& time);

} // namespace tests
