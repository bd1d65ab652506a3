// What a DNG says of the raw file that it was made of, in its first directory. Reads from any
// source; every file that is no DNG of ours, or none at all, gives nothing. Any thread.
#pragma once

#include "ZQPluginSupport/original/OriginalRecord.h"
#include "ZQPluginSupport/original/TiffDirectory.h"

#include <cstdint>
#include <optional>
#include <string>

namespace dng {

constexpr std::uint16_t kTagStripOffsets = 273;
constexpr std::uint16_t kTagStripByteCounts = 279;
constexpr std::uint16_t kTagTileOffsets = 324;
constexpr std::uint16_t kTagTileByteCounts = 325;
constexpr std::uint16_t kTagSubDirectories = 330;
constexpr std::uint16_t kTagDngVersion = 50706;
constexpr std::uint16_t kTagPrivateData = 50740;
constexpr std::uint16_t kTagOriginalName = 50827;
constexpr std::uint16_t kTagOriginalData = 50828;

// Nothing for a file without the tag that makes a TIFF file a DNG.
std::optional<TiffFile> openDng(const ByteSource& source);

// Our record; nothing if the private data are somebody else's or not whole.
std::optional<OriginalRecord> originalRecordOf(const TiffFile& file);

// Whether the bytes of every picture that its directories name lie in the file, and there is one.
// What another program copies has the record long before that.
bool isWhole(const TiffFile& file);

// The record of an open file that is whole.
std::optional<OriginalRecord> readOriginalRecord(int descriptor);

// The name that any DNG may bear for its original (50827), up to its first NUL; nothing if a file
// cannot have that name.
std::optional<std::string> originalNameOf(const TiffFile& file);

} // namespace dng
