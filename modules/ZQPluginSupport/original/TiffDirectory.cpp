#include "ZQPluginSupport/original/TiffDirectory.h"

#include <algorithm>
#include <array>
#include <span>

namespace dng {

namespace {

constexpr std::size_t kHeadBytes = 8;
constexpr std::size_t kEntryBytes = 12;
constexpr std::size_t kValueInEntry = 8; // where a value of at most 4 bytes stands
constexpr std::size_t kMaxNumbers = 1024;
constexpr std::size_t kMaxBelow = 32;
constexpr std::uint16_t kSubDirectories = 330;

enum Type : std::uint16_t { kByte = 1, kShort = 3, kLong = 4, kDirectory = 13 };

// Bytes of one element, by type; 0 for what is no type.
constexpr std::array<std::uint8_t, 14> kElementBytes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};

std::size_t elementBytes(std::uint16_t type)
{
    return type < kElementBytes.size() ? kElementBytes[type] : 0;
}

bool isWholeNumber(std::uint16_t type)
{
    return type == kByte || type == kShort || type == kLong || type == kDirectory;
}

} // namespace

std::uint64_t TiffEntry::bytes() const
{
    return std::uint64_t{count} * elementBytes(type);
}

const TiffEntry* TiffDirectory::find(std::uint16_t tag) const
{
    const auto found = std::find_if(
        entries.begin(), entries.end(), [tag](const TiffEntry& entry) { return entry.tag == tag; });
    return found == entries.end() ? nullptr : &*found;
}

TiffFile::TiffFile(const ByteSource& source, bool isBigEndian)
    : m_source(&source)
    , m_isBigEndian(isBigEndian)
{
}

std::optional<TiffFile> TiffFile::open(const ByteSource& source)
{
    std::array<std::uint8_t, kHeadBytes> head{};
    if (!source.read(0, head) || head[0] != head[1] || (head[0] != 'I' && head[0] != 'M'))
        return std::nullopt;
    TiffFile file(source, head[0] == 'M');
    if (file.number(&head[2], 2) != 42)
        return std::nullopt;
    auto first = file.directoryAt(file.number(&head[4], 4));
    if (!first)
        return std::nullopt;
    file.m_first = std::move(*first);
    return file;
}

std::uint32_t TiffFile::number(const std::uint8_t* bytes, std::size_t count) const
{
    std::uint32_t result = 0;
    for (std::size_t i = 0; i < count; ++i)
        result = result << 8U | bytes[m_isBigEndian ? i : count - 1 - i];
    return result;
}

std::optional<TiffDirectory> TiffFile::directoryAt(std::uint64_t position) const
{
    std::array<std::uint8_t, 2> head{};
    if (position < kHeadBytes || !m_source->read(position, head))
        return std::nullopt;
    const std::size_t entries = number(head.data(), 2);
    std::vector<std::uint8_t> bytes(entries * kEntryBytes + 4);
    if (!m_source->read(position + 2, bytes))
        return std::nullopt;
    TiffDirectory directory;
    directory.position = position;
    directory.next = number(&bytes[entries * kEntryBytes], 4);
    for (std::size_t i = 0; i < entries; ++i) {
        const TiffEntry entry = entryAt(position + 2 + i * kEntryBytes, &bytes[i * kEntryBytes]);
        if (elementBytes(entry.type) == 0)
            continue;
        if (isWhole(entry))
            directory.entries.push_back(entry);
        else
            directory.cutOff.push_back(entry.tag);
    }
    return directory;
}

TiffEntry TiffFile::entryAt(std::uint64_t position, const std::uint8_t* bytes) const
{
    TiffEntry entry;
    entry.tag = static_cast<std::uint16_t>(number(bytes, 2));
    entry.type = static_cast<std::uint16_t>(number(bytes + 2, 2));
    entry.count = number(bytes + 4, 4);
    entry.entryPosition = position;
    entry.valueOffset =
        entry.bytes() <= 4 ? position + kValueInEntry : number(bytes + kValueInEntry, 4);
    return entry;
}

bool TiffFile::isWhole(const TiffEntry& entry) const
{
    const std::uint64_t size = m_source->size();
    return entry.valueOffset <= size && entry.bytes() <= size - entry.valueOffset;
}

std::vector<TiffDirectory> TiffFile::below(const TiffDirectory& directory) const
{
    std::vector<TiffDirectory> result;
    const TiffEntry* const entry = directory.find(kSubDirectories);
    if (!entry || (entry->type != kLong && entry->type != kDirectory))
        return result;
    auto positions = numbers(*entry);
    positions.resize(std::min(positions.size(), kMaxBelow));
    for (const std::uint32_t position : positions)
        if (auto found = directoryAt(position))
            result.push_back(std::move(*found));
    return result;
}

std::vector<std::uint32_t> TiffFile::numbers(const TiffEntry& entry) const
{
    if (!isWholeNumber(entry.type))
        return {};
    const std::size_t each = elementBytes(entry.type);
    const std::size_t count = std::min<std::size_t>(entry.count, kMaxNumbers);
    std::vector<std::uint8_t> bytes(count * each);
    if (!m_source->read(entry.valueOffset, bytes))
        return {};
    std::vector<std::uint32_t> result(count);
    for (std::size_t i = 0; i < count; ++i)
        result[i] = number(bytes.data() + i * each, each);
    return result;
}

std::optional<std::string> TiffFile::text(const TiffEntry& entry, std::size_t limit) const
{
    if (entry.bytes() > limit)
        return std::nullopt;
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(entry.bytes()));
    if (!m_source->read(entry.valueOffset, bytes))
        return std::nullopt;
    return std::string(bytes.begin(), bytes.end());
}

} // namespace dng
