// The directories of a TIFF file, of either byte order, as far as they can be believed: every entry
// that is given has a known type, and its whole value lies in the file. Reading is bounded, however
// the file is built.
//
// Borrows the bytes; constant after construction, any thread.
#pragma once

#include "ZQPluginSupport/original/ByteSource.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dng {

struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::uint64_t valueOffset = 0; // position in the file of the value's first byte
    std::uint64_t entryPosition = 0; // of the entry's 12 bytes

    // Of the whole value.
    std::uint64_t bytes() const;
};

struct TiffDirectory {
    std::uint64_t position = 0; // in the file, of the number of entries
    std::uint32_t next = 0; // where the file says that the next directory is; 0 for none
    std::vector<TiffEntry> entries; // in the order of the file
    std::vector<std::uint16_t> cutOff; // tags whose values do not lie in the file, as in half a one

    // The first with this tag; null if there is none. Valid as long as the directory.
    const TiffEntry* find(std::uint16_t tag) const;
};

class TiffFile {
public:
    // Nothing for what is no TIFF file or has no first directory.
    static std::optional<TiffFile> open(const ByteSource& source);

    bool isBigEndian() const { return m_isBigEndian; }
    const ByteSource& source() const { return *m_source; }
    const TiffDirectory& first() const { return m_first; }

    // The directory at a position; nothing if it does not lie in the file.
    std::optional<TiffDirectory> directoryAt(std::uint64_t position) const;

    // Those that the tag SubIFDs (330) of this one names, at most 32, without those that do not lie
    // in the file.
    std::vector<TiffDirectory> below(const TiffDirectory& directory) const;

    // A value of whole numbers without sign (BYTE, SHORT, LONG, IFD), its first 1,024 at most;
    // empty for other types.
    std::vector<std::uint32_t> numbers(const TiffEntry& entry) const;

    // A value as it stands; nothing if it has more bytes than the limit or cannot be read.
    std::optional<std::string> text(const TiffEntry& entry, std::size_t limit) const;

private:
    TiffFile(const ByteSource& source, bool isBigEndian);
    std::uint32_t number(const std::uint8_t* bytes, std::size_t count) const;
    TiffEntry entryAt(std::uint64_t position, const std::uint8_t* bytes) const;
    bool isWhole(const TiffEntry& entry) const;

    const ByteSource* m_source;
    bool m_isBigEndian;
    TiffDirectory m_first;
};

} // namespace dng
