#include "ZQPluginSupport/decoding/ColorFacts.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace dng {

namespace {

constexpr unsigned int kDaylight = 21; // D65
constexpr unsigned int kNoIlluminant = 65535;
constexpr double kSmallest = 1e-7;

using Matrix3 = std::array<std::array<double, 3>, 3>;

// From XYZ to linear sRGB, IEC 61966-2-1.
constexpr Matrix3 kXyzToSrgb = {{{3.2404542, -1.5371385, -0.4985314},
    {-0.9692660, 1.8760108, 0.0415560},
    {0.0556434, -0.2040259, 1.0572252}}};

double determinant(const Matrix3& m)
{
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1])
        - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0])
        + m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

// Requires: it has one.
Matrix3 inverse(const Matrix3& m)
{
    const double scale = 1 / determinant(m);
    Matrix3 result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            const std::size_t a = (j + 1) % 3;
            const std::size_t b = (j + 2) % 3;
            const std::size_t c = (i + 1) % 3;
            const std::size_t d = (i + 2) % 3;
            result[i][j] = (m[a][c] * m[b][d] - m[a][d] * m[b][c]) * scale;
        }
    return result;
}

std::vector<double> product(const Matrix3& a, const Matrix3& b)
{
    std::vector<double> result;
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result.push_back(a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j]);
    return result;
}

bool isZero(const std::vector<double>& values)
{
    return std::all_of(values.begin(), values.end(), [](double value) {
        return !std::isfinite(value) || std::abs(value) < kSmallest;
    });
}

template <typename Rows>
std::vector<double> rowsOf(const Rows& rows, std::size_t planes)
{
    std::vector<double> values;
    for (std::size_t i = 0; i < planes; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            values.push_back(static_cast<double>(rows[i][j]));
    return isZero(values) ? std::vector<double>() : values;
}

// For a camera of which only the way to sRGB is known.
std::vector<double> fromScreenColors(const libraw_colordata_t& color)
{
    Matrix3 toScreen{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            toScreen[i][j] = static_cast<double>(color.rgb_cam[i][j]);
    if (!(std::abs(determinant(toScreen)) > kSmallest))
        toScreen = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    return product(inverse(toScreen), kXyzToSrgb);
}

unsigned int knownIlluminant(unsigned int number)
{
    return number == 0 || number >= kNoIlluminant ? kDaylight : number;
}

} // namespace

std::uint8_t colorCode(char letter)
{
    switch (letter) {
    case 'R':
        return 0;
    case 'G':
        return 1;
    case 'B':
        return 2;
    case 'C':
    case 'E':
        return 3;
    case 'M':
        return 4;
    case 'Y':
        return 5;
    default:
        return 6;
    }
}

std::vector<std::uint8_t> planesOf(const libraw_iparams_t& camera)
{
    const auto count = static_cast<std::size_t>(std::clamp(camera.colors, 1, 4));
    std::vector<std::uint8_t> planes;
    for (std::size_t i = 0; i < count; ++i)
        planes.push_back(colorCode(camera.cdesc[i]));
    return planes;
}

std::vector<double> neutralOf(const float* factors, std::size_t planes)
{
    std::vector<double> neutral;
    for (std::size_t i = 0; i < planes; ++i) {
        const double factor = static_cast<double>(factors[i]);
        if (!std::isfinite(factor) || factor <= 0)
            return {};
        neutral.push_back(static_cast<double>(factors[1]) / factor);
    }
    const bool isSane = std::all_of(
        neutral.begin(), neutral.end(), [](double value) { return value > 1e-4 && value < 1e4; });
    return isSane ? neutral : std::vector<double>();
}

ColorMatrix matrixOf(const libraw_colordata_t& color, std::size_t planes)
{
    ColorMatrix matrix{rowsOf(color.cam_xyz, planes), kDaylight};
    if (!matrix.isThere() && planes == 3)
        matrix.values = fromScreenColors(color);
    return matrix;
}

void takeOwnMatrices(const libraw_colordata_t& color, std::size_t planes, SensorFacts& facts)
{
    ColorMatrix own[2];
    for (std::size_t k = 0; k < 2; ++k)
        own[k] = {rowsOf(color.dng_color[k].colormatrix, planes),
            knownIlluminant(color.dng_color[k].illuminant)};
    if (!own[0].isThere())
        std::swap(own[0], own[1]);
    if (!own[0].isThere())
        return;
    facts.matrix = own[0];
    facts.secondMatrix = own[1].illuminant != own[0].illuminant ? own[1] : ColorMatrix{};
}

} // namespace dng
