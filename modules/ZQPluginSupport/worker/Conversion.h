// One raw file on its way to a DNG, all in memory and in the files that it is handed. One thread,
// beside those that it is lent. What cannot be done throws a ConversionFailure.
#pragma once

#include "ZQPluginSupport/decoding/RawSource.h"
#include "ZQPluginSupport/encoding/WorkerThreads.h"

#include <cstddef>
#include <span>
#include <string>

namespace dng {

enum class PreviewSize { kNone, kMedium, kFull };

struct ConversionOptions {
    PreviewSize preview = PreviewSize::kMedium;
    bool isCompressed = true;
    bool isLinear = false;
    bool embedsRaw = false;
    bool isVerified = true; // off for measurements alone
};

struct ConversionSource {
    std::span<const std::byte> raw;
    std::span<const std::byte> sidecar; // XMP; nothing where there is none
    std::span<const std::byte> thumbnail; // the camera's THM file; likewise
    std::string name; // of the raw file
};

// Fills the open, empty file `target`, and returns when its bytes are on the disk and were found to
// be right.
void convert(const ConversionSource& source,
    const ConversionOptions& options,
    int target,
    WorkerThreads& threads,
    const RawSource::Progress& progress);

} // namespace dng
