#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace bench {

// Of values that are there: the upper one of two in the middle.
inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace bench
