// The raw file inside a DNG: the value of the tag OriginalRawFileData (50828), which has eight
// parts, the first with the raw file, the fifth with its preview (.THM). A part with a file is its
// length, the offsets of its blocks, and its blocks of 64 KB, each a zlib stream; all numbers have
// four bytes, big endian. The parts that we do not have are four zero bytes.
#pragma once

#include "ZQPluginSupport/original/ByteSource.h"
#include "ZQPluginSupport/original/OriginalRecord.h"
#include "ZQPluginSupport/original/TiffDirectory.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace dng {

class WorkerThreads;

// Takes bytes behind each other; false ends the work.
using ByteSink = std::function<bool(std::span<const std::uint8_t> bytes)>;

// Reads and compresses a raw file, then writes it as the tag's value. Holds the compressed bytes,
// since their offsets stand before them. The same file gives the same bytes on any number of
// threads. One thread at a time.
class EmbeddedOriginal {
public:
    static constexpr std::uint64_t kMaxFile = 0xffff0000; // more would not fit into a DNG

    // Nothing if a file cannot be read or is too large. `preview` and `threads` may be null.
    static std::optional<EmbeddedOriginal> of(
        const ByteSource& raw, const ByteSource* preview, WorkerThreads* threads);

    // Bytes of the tag's value.
    std::uint64_t size() const { return m_size; }

    // False if the sink said so.
    bool write(const ByteSink& sink) const;

private:
    struct Part {
        std::uint32_t length = 0; // of the file
        std::vector<std::vector<std::uint8_t>> blocks;
    };

    EmbeddedOriginal() = default;
    static std::optional<Part> compressed(const ByteSource& file, WorkerThreads* threads);
    static bool writePart(const Part& part, const ByteSink& sink);
    static std::uint64_t sizeOf(const Part& part);

    Part m_raw;
    Part m_preview;
    std::uint64_t m_size = 0;
};

enum class UnpackResult {
    kUnpacked,
    kDamaged, // not such a value, a block that is not whole, or not what the record says
    kUnreadable, // the DNG cannot be read any more
    kSinkRefused,
};

// Gives the raw file in the value to the sink, a block at a time: to know whether it is the right
// one, wait for the result. With a record, size and digest are those of the record; without one,
// each block's checksum is all there is. `content`, if not null, receives the digest of what was
// given.
UnpackResult unpackOriginal(const ByteSource& file,
    const TiffEntry& value,
    const std::optional<OriginalRecord>& record,
    const ByteSink& sink,
    Pt::ContentDigest* content = nullptr);

} // namespace dng
