// Reads a DNG back and decodes it again, to compare it with what went into it. One thread. Anything
// that is not as it should be is a ConversionFailure.
#pragma once

#include "ZQPluginSupport/decoding/RawSource.h"
#include "ZQPluginSupport/original/OriginalRecord.h"

#include <cstddef>
#include <vector>

namespace dng {

struct ExpectedDng {
    Frame frame; // the values that it holds
    SensorFacts facts;
    OriginalRecord original;
    bool embedsOriginal = false;
};

// The whole of an open file, flushed, and read from the disk as far as the file system allows.
std::vector<std::byte> readBack(int descriptor);

void checkDng(const std::vector<std::byte>& dng,
    const ExpectedDng& expected,
    const RawSource::Progress& progress);

} // namespace dng
