#include "mfx/engine/dates/MovieDate.h"

#include "mfx/engine/dates/HeaderReader.h"

#include <algorithm>
#include <limits>
#include <string>

namespace mfx {

namespace {

// The payload of one box or chunk, and where its successor begins.
struct Box {
    std::string type; // four bytes
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    std::uint64_t next = 0;
};

constexpr std::size_t kMaxTextLength = 64; // of a date
constexpr std::uint32_t kMaxKeys = 256;
constexpr std::string_view kDateKey = "com.apple.quicktime.creationdate";

// The box at `offset` within a parent that ends at `limit`. A box that reaches past its parent (a
// movie that was cut off) ends with it.
std::optional<Box> boxAt(HeaderReader& reader, std::uint64_t offset, std::uint64_t limit)
{
    const auto head = limit - offset >= 8 ? reader.bytes(offset, 8) : std::nullopt;
    if (!head)
        return std::nullopt;
    std::uint64_t size = bigEndian32(*head);
    std::uint64_t headSize = 8;
    if (size == 1) { // a 64-bit size follows
        const auto wide = limit - offset >= 16 ? reader.bytes(offset + 8, 8) : std::nullopt;
        size = wide ? bigEndian64(*wide) : 0;
        headSize = 16;
    } else if (size == 0) { // up to the end
        size = limit - offset;
    }
    if (size < headSize)
        return std::nullopt;
    const std::uint64_t end = size > limit - offset ? limit : offset + size;
    return Box{head->substr(4), offset + headSize, end, end};
}

// The chunk at `offset`. Chunks begin at even offsets: an odd one is followed by a byte of padding,
// which its size does not count.
std::optional<Box> chunkAt(HeaderReader& reader, std::uint64_t offset, std::uint64_t limit)
{
    const auto head = limit - offset >= 8 ? reader.bytes(offset, 8) : std::nullopt;
    if (!head)
        return std::nullopt;
    const std::uint64_t size = littleEndian32(std::string_view(*head).substr(4));
    const std::uint64_t end = std::min(limit, offset + 8 + size);
    return Box{head->substr(0, 4), offset + 8, end, std::min(limit, end + (size & 1U))};
}

// Boxes and chunks are walked alike; each step ends beyond the head that it read, so that every
// walk comes to an end.
using BoxReader = std::optional<Box> (*)(HeaderReader&, std::uint64_t, std::uint64_t);

// Calls `visit` for each box of a range until it returns true or the range ends.
template <typename Visit>
void forEachBox(HeaderReader& reader, const Box& parent, BoxReader read, Visit visit)
{
    std::uint64_t offset = parent.begin;
    while (offset < parent.end) {
        const auto box = read(reader, offset, parent.end);
        if (!box || visit(*box))
            return;
        offset = box->next;
    }
}

std::optional<Box> findBox(HeaderReader& reader, const Box& parent, std::string_view type)
{
    std::optional<Box> found;
    forEachBox(reader, parent, boxAt, [&](const Box& box) {
        if (box.type == type)
            found = box;
        return found.has_value();
    });
    return found;
}

std::optional<std::string> shortText(HeaderReader& reader, std::uint64_t begin, std::uint64_t end)
{
    const std::uint64_t length = end > begin ? end - begin : 0;
    return reader.bytes(
        begin, static_cast<std::size_t>(std::min<std::uint64_t>(length, kMaxTextLength)));
}

// 1-based, as values refer to it. Place of the date among the names in a "keys" box; 0 when it is
// not there.
std::uint32_t dateKeyIndex(HeaderReader& reader, const Box& keys)
{
    const auto head = keys.end - keys.begin >= 8 ? reader.bytes(keys.begin, 8) : std::nullopt;
    if (!head)
        return 0;
    const std::uint32_t count = bigEndian32(std::string_view(*head).substr(4));
    std::uint32_t index = 0;
    std::uint32_t found = 0;
    // An entry has the form of a box: its size, a name space in place of the type, the name.
    forEachBox(reader, {"", keys.begin + 8, keys.end, keys.end}, boxAt, [&](const Box& key) {
        ++index;
        if (key.end - key.begin == kDateKey.size()
            && reader.bytes(key.begin, kDateKey.size()) == kDateKey)
            found = index;
        return found != 0 || index >= std::min(count, kMaxKeys);
    });
    return found;
}

// In QuickTime the "meta" box holds boxes at once, in MP4 a version comes first.
Box metaContents(HeaderReader& reader, Box meta)
{
    const auto head = meta.end - meta.begin >= 8 ? reader.bytes(meta.begin, 8) : std::nullopt;
    if (head && head->substr(4) != "hdlr")
        meta.begin += 4;
    return meta;
}

std::optional<std::string> textOfKey(HeaderReader& reader, const Box& values, std::uint32_t index)
{
    const std::string type{0, 0, static_cast<char>(index >> 8U), static_cast<char>(index & 0xFFU)};
    const auto value = findBox(reader, values, type);
    const auto text = value ? findBox(reader, *value, "data") : std::nullopt;
    // Type and locale come before the text.
    return text ? shortText(reader, text->begin + 8, text->end) : std::nullopt;
}

// Telephones write the local time with its offset under a key of its own. The list of keys gives it
// a number, and the value is the box in the list of values whose type is that number.
std::optional<CaptureMoment> keyDate(HeaderReader& reader, const Box& movie)
{
    const auto meta = findBox(reader, movie, "meta");
    if (!meta)
        return std::nullopt;
    const Box contents = metaContents(reader, *meta);
    const auto keys = findBox(reader, contents, "keys");
    const auto values = findBox(reader, contents, "ilst");
    const std::uint32_t index = keys && values ? dateKeyIndex(reader, *keys) : 0;
    if (index == 0)
        return std::nullopt;
    const auto bytes = textOfKey(reader, *values, index);
    return bytes ? parseDateText(*bytes) : std::nullopt;
}

std::optional<CaptureMoment> momentFrom1904(std::uint64_t seconds)
{
    constexpr std::int64_t kFrom1904To1970 = 2'082'844'800;
    if (seconds > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return std::nullopt;
    auto moment = momentFromUnixTime(static_cast<std::int64_t>(seconds) - kFrom1904To1970);
    if (moment)
        moment->offsetMinutes = 0;
    return moment;
}

// Seconds since 1904 in UTC, by the standard. Many cameras put their local time there all the same,
// which nothing in the file gives away: it is taken at its word, and is the last resort.
std::optional<CaptureMoment> headerDate(HeaderReader& reader, const Box& movie)
{
    const auto header = findBox(reader, movie, "mvhd");
    if (!header || header->end - header->begin < 12)
        return std::nullopt;
    const auto bytes = reader.bytes(header->begin, 12); // version and flags, creation time
    if (!bytes)
        return std::nullopt;
    const std::string_view time = std::string_view(*bytes).substr(4);
    const std::uint64_t seconds = bytes->front() == 1 ? bigEndian64(time) : bigEndian32(time);
    return momentFrom1904(seconds);
}

CaptureDate boxMovieDate(HeaderReader& reader)
{
    const auto movie = findBox(reader, {"", 0, reader.size(), reader.size()}, "moov");
    if (!movie)
        return {};
    if (const auto moment = keyDate(reader, *movie))
        return {moment, DateSource::kMovieKey};
    if (const auto moment = headerDate(reader, *movie))
        return {moment, DateSource::kMovieHeader};
    return {};
}

// The depth is limited, for lists may hold lists, and what the file says of their sizes is not to
// be trusted.
std::optional<CaptureMoment> chunkDate(HeaderReader& reader, const Box& parent, int depth)
{
    std::optional<CaptureMoment> moment;
    forEachBox(reader, parent, chunkAt, [&](const Box& chunk) {
        if (chunk.type == "IDIT") {
            const auto text = shortText(reader, chunk.begin, chunk.end);
            moment = text ? parseMovieDateText(*text) : std::nullopt;
        } else if (chunk.type == "LIST" && depth > 0 && chunk.end - chunk.begin >= 4) {
            const auto type = reader.bytes(chunk.begin, 4);
            if (type && *type != "movi") // the media: thousands of chunks
                moment =
                    chunkDate(reader, {*type, chunk.begin + 4, chunk.end, chunk.next}, depth - 1);
        }
        return moment.has_value();
    });
    return moment;
}

CaptureDate aviDate(HeaderReader& reader)
{
    constexpr int kDepth = 3; // the headers, a stream's headers, what is in them
    const auto moment = chunkDate(reader, {"AVI ", 12, reader.size(), reader.size()}, kDepth);
    return moment ? CaptureDate{moment, DateSource::kAviChunk} : CaptureDate{};
}

} // namespace

CaptureDate movieDate(std::istream& stream)
{
    HeaderReader reader(stream);
    const auto head = reader.bytes(0, 12);
    if (!head)
        return {};
    const std::string_view form = *head;
    if (form.substr(0, 4) == "RIFF")
        return form.substr(8) == "AVI " ? aviDate(reader) : CaptureDate{};
    return boxMovieDate(reader);
}

} // namespace mfx
