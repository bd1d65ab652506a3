// What a DNG says of the sensor's values beside the values: where the picture lies among them,
// which colours they are of, where black and white are, and how the camera sees colours. Values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace dng {

// Rows and columns of the frame; bottom and right are behind the last ones.
struct Area {
    std::uint32_t top = 0;
    std::uint32_t left = 0;
    std::uint32_t bottom = 0;
    std::uint32_t right = 0;

    std::uint32_t width() const { return right - left; }
    std::uint32_t height() const { return bottom - top; }
    friend bool operator==(const Area&, const Area&) = default;
};

// Values that repeat in both directions, from the top left of the picture.
template <typename Value>
struct RepeatedPattern {
    std::uint32_t rows = 0;
    std::uint32_t columns = 0;
    std::vector<Value> values; // row by row

    friend bool operator==(const RepeatedPattern&, const RepeatedPattern&) = default;
};

// The same in as few rows and columns as it can be said.
template <typename Value>
RepeatedPattern<Value> shortest(RepeatedPattern<Value> pattern)
{
    const auto repeats = [&pattern](std::uint32_t rows, std::uint32_t columns) {
        for (std::uint32_t row = 0; row < pattern.rows; ++row)
            for (std::uint32_t column = 0; column < pattern.columns; ++column)
                if (pattern.values[row * pattern.columns + column]
                    != pattern.values[row % rows * pattern.columns + column % columns])
                    return false;
        return true;
    };
    std::uint32_t rows = 1;
    while (pattern.rows % rows != 0 || !repeats(rows, pattern.columns))
        ++rows;
    std::uint32_t columns = 1;
    while (pattern.columns % columns != 0 || !repeats(rows, columns))
        ++columns;
    RepeatedPattern<Value> result{rows, columns, {}};
    for (std::uint32_t row = 0; row < rows; ++row)
        for (std::uint32_t column = 0; column < columns; ++column)
            result.values.push_back(pattern.values[row * pattern.columns + column]);
    return result;
}

// From XYZ to the camera's colours, a row for each of these.
struct ColorMatrix {
    std::vector<double> values;
    unsigned int illuminant = 0; // as EXIF numbers light sources

    bool isThere() const { return !values.empty(); }
};

struct SensorFacts {
    Area active;
    // Colours of the mosaic as EXIF numbers them, 0 red, 1 green, 2 blue; no values where there is
    // no mosaic.
    RepeatedPattern<std::uint8_t> mosaic;
    RepeatedPattern<std::uint32_t> black;
    std::uint32_t white = 0;
    double aspect = 1; // width of a pixel by its height
    unsigned int orientation = 1; // as EXIF has it

    std::vector<std::uint8_t> planes; // the camera's colours, numbered as above; one: no colours
    ColorMatrix matrix;
    ColorMatrix secondMatrix; // none where there is one only
    std::vector<double> neutral; // what the camera saw as white; none where there are no colours

    std::string make; // as the decoder has it, without what makers put around it
    std::string model;

    bool hasMosaic() const { return !mosaic.values.empty(); }
    bool hasColors() const { return planes.size() > 1; }
};

} // namespace dng
