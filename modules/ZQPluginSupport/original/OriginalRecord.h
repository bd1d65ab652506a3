// What a DNG of ours knows of the raw file that it was made of: the file's name, size and digest.
// It stands in the DNG's private tag (50740) as bytes with a mark of ours, by which a DNG is
// recognised as the conversion of a given file without decoding anything.
//
// The bytes: "Tevoro NX original 1" and NUL, the size as 8 bytes big endian, the 32 bytes of the
// SHA-256, the length of the name as 2 bytes big endian, the name. A value; any thread.
#pragma once

#include "platform/common/files/ContentDigest.h"

#include <optional>
#include <string>
#include <string_view>

namespace dng {

struct OriginalRecord {
    std::string name; // without folders, in the file system's encoding
    Pt::ContentDigest content;

    friend bool operator==(const OriginalRecord&, const OriginalRecord&) = default;
};

// Whether a file could have this name in a folder: not empty, "." or "..", no '/' or NUL, at most
// 255 bytes.
bool isFileName(std::string_view name);

// Requires: isFileName(record.name); else throws std::invalid_argument.
std::string formatOriginalRecord(const OriginalRecord& record);

// Nothing for anything but exactly such bytes.
std::optional<OriginalRecord> parseOriginalRecord(std::string_view bytes);

} // namespace dng
