// Whether everything fits, before anything is written: what goes to one file system is summed,
// whichever places it is for. Free functions; any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mfx {

struct SpaceNeed {
    std::string folder; // need not exist yet
    std::uint64_t bytes = 0;
};

struct SpaceShortage {
    std::string folder; // the first of those on that file system
    std::uint64_t needed = 0; // bytes
    std::uint64_t available = 0; // bytes
};

// The first file system that is too small; nothing when all fits or a file system does not tell.
std::optional<SpaceShortage> findShortage(const std::vector<SpaceNeed>& needs);

// "12.3 GB", in powers of 1000.
std::string sizeText(std::uint64_t bytes);

} // namespace mfx
