#include "mfx/engine/dates/CiffDate.h"

#include "mfx/engine/dates/HeaderReader.h"

#include <string>

namespace mfx {

namespace {

constexpr std::size_t kEntryBytes = 10; // tag, size, offset within the heap
constexpr std::uint32_t kMaxEntries = 1024;
constexpr int kMaxDepth = 4;
constexpr std::uint32_t kTimeRecord = 0x180E;
constexpr std::uint32_t kKindBits = 0x3800; // of a tag
constexpr std::uint32_t kHeapKinds[] = {0x2800, 0x3000};
constexpr std::uint32_t kInEntryBits = 0xC000; // set: the value stands in the entry itself

struct Heap {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

struct Entry {
    std::uint32_t tag = 0;
    Heap contents;
};

// Two bytes, in the low half.
std::uint32_t littleEndian16(std::string_view bytes)
{
    return littleEndian32(std::string(bytes.substr(0, 2)) + std::string(2, '\0'));
}

// Text of a heap's directory: a count precedes it, and the heap's last number says where it lies.
std::string directory(HeaderReader& reader, const Heap& heap)
{
    const std::uint64_t length = heap.end - heap.begin;
    const auto place = length >= 6 ? reader.bytes(heap.end - 4, 4) : std::nullopt;
    // What cannot be read counts as lying past the end, which the next test refuses.
    const std::uint64_t offset = place ? littleEndian32(*place) : length;
    const auto count = offset <= length - 2 ? reader.bytes(heap.begin + offset, 2) : std::nullopt;
    const std::uint32_t entries = count ? littleEndian16(*count) : 0;
    const std::uint64_t size = std::uint64_t{entries} * kEntryBytes;
    if (entries > kMaxEntries || size > length - 2 - offset)
        return {};
    return reader.bytes(heap.begin + offset + 2, static_cast<std::size_t>(size)).value_or("");
}

// Nothing when the contents do not lie in the heap.
std::optional<Entry> entryOf(std::string_view bytes, const Heap& heap)
{
    const std::uint64_t size = littleEndian32(bytes.substr(2));
    const std::uint64_t offset = littleEndian32(bytes.substr(6));
    const std::uint64_t length = heap.end - heap.begin;
    const std::uint32_t tag = littleEndian16(bytes);
    if ((tag & kInEntryBits) != 0 || offset > length || size > length - offset)
        return std::nullopt;
    return Entry{tag, {heap.begin + offset, heap.begin + offset + size}};
}

bool isHeap(std::uint32_t tag)
{
    return (tag & kKindBits) == kHeapKinds[0] || (tag & kKindBits) == kHeapKinds[1];
}

// Seconds since 1970 by the camera's clock, without an offset: they are its local time.
std::optional<CaptureMoment> recordDate(HeaderReader& reader, const Heap& record)
{
    const auto seconds =
        record.end - record.begin >= 4 ? reader.bytes(record.begin, 4) : std::nullopt;
    return seconds ? momentFromUnixTime(littleEndian32(*seconds)) : std::nullopt;
}

// Heaps within heaps: the time is two levels down in files that cameras write. A heap that names
// itself as its own part ends at the depth.
std::optional<CaptureMoment> heapDate(HeaderReader& reader, const Heap& heap, int depth)
{
    const std::string entries = directory(reader, heap);
    for (std::size_t at = 0; at + kEntryBytes <= entries.size(); at += kEntryBytes) {
        const auto entry = entryOf(std::string_view(entries).substr(at, kEntryBytes), heap);
        std::optional<CaptureMoment> moment;
        if (entry && entry->tag == kTimeRecord)
            moment = recordDate(reader, entry->contents);
        else if (entry && isHeap(entry->tag) && depth > 0)
            moment = heapDate(reader, entry->contents, depth - 1);
        if (moment)
            return moment;
    }
    return std::nullopt;
}

} // namespace

bool isCiff(std::string_view beginning)
{
    return beginning.substr(0, 2) == "II" && beginning.size() >= 14
        && beginning.substr(6, 8) == "HEAPCCDR";
}

CaptureDate ciffDate(std::istream& stream)
{
    HeaderReader reader(stream);
    const auto head = reader.bytes(0, 14);
    if (!head || !isCiff(*head))
        return {};
    const std::uint64_t begin = littleEndian32(std::string_view(*head).substr(2));
    if (begin > reader.size())
        return {};
    const auto moment = heapDate(reader, {begin, reader.size()}, kMaxDepth);
    return moment ? CaptureDate{moment, DateSource::kRawRecord} : CaptureDate{};
}

} // namespace mfx
