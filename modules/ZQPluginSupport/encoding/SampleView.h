// Samples of a picture that somebody else holds: rows of 16-bit numbers, one below the other. The
// samples of a pixel stand side by side. Borrowed; they stay as they are while the view is used.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dng {

struct SampleView {
    const std::uint16_t* samples = nullptr;
    std::size_t pitch = 0; // samples from one row to the next
    std::uint32_t columns = 0; // samples in a row
    std::uint32_t rows = 0;

    const std::uint16_t* row(std::size_t index) const { return samples + index * pitch; }
};

} // namespace dng
