// Where a conversion puts its DNG, and where an earlier one has put it. Free functions; any thread.
#pragma once

#include "platform/common/files/ContentDigest.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace mfx {

// The path that the DNG of a raw file will get if it is converted now: its name with the extension
// "dng", or the first free of the forms with "_1", "_2" and so on behind the name.
std::string nextDNGPath(const std::string& rawPath);

// Reads a raw file, or says what was read of it; nothing where it cannot be read.
using RawDigest = std::function<std::optional<Pt::ContentDigest>()>;

// The DNG under one of these names, up to the first free one, that was made of a raw file with this
// size and digest: it bears our record of it. The raw file is read only where the sizes agree, and
// need not stand at its path. What has the record was verified when it got its name; its picture is
// not looked at here.
std::optional<std::string> findDNGOf(
    const std::string& rawPath, std::uint64_t size, const RawDigest& digest);

// The DNG that was made of a raw file with this content just now, when `expected` was the first
// free name: what bears our record of it. A library of others writes none: then it is what has the
// name now. Nothing where what has it was made of other bytes.
std::optional<std::string> findMadeDNG(
    const std::string& rawPath, const std::string& expected, const Pt::ContentDigest& content);

// The size of the raw file that a DNG was made of; nothing for what does not bear our record.
std::optional<std::uint64_t> originalSizeIn(const std::string& dngPath);

} // namespace mfx
