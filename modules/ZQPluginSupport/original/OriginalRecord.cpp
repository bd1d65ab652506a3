#include "ZQPluginSupport/original/OriginalRecord.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace dng {

namespace {

constexpr std::string_view kMark("Tevoro NX original 1\0", 21);
constexpr std::size_t kMaxName = 255; // bytes, as file systems have it
constexpr std::size_t kDigestBytes = 32;
constexpr std::size_t kHeadBytes = kMark.size() + 8 + kDigestBytes + 2;

void putNumber(std::string& to, std::uint64_t number, unsigned int bytes)
{
    while (bytes-- > 0)
        to += static_cast<char>(number >> (8 * bytes));
}

std::uint64_t numberAt(std::string_view bytes, std::size_t position, std::size_t count)
{
    std::uint64_t number = 0;
    for (const char byte : bytes.substr(position, count))
        number = number << 8U | static_cast<unsigned char>(byte);
    return number;
}

} // namespace

bool isFileName(std::string_view name)
{
    return !name.empty() && name.size() <= kMaxName && name != "." && name != ".."
        && name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::string formatOriginalRecord(const OriginalRecord& record)
{
    if (!isFileName(record.name))
        throw std::invalid_argument("the original has no file name");
    std::string bytes(kMark);
    putNumber(bytes, record.content.size, 8);
    bytes.append(record.content.sha256.begin(), record.content.sha256.end());
    putNumber(bytes, record.name.size(), 2);
    return bytes + record.name;
}

std::optional<OriginalRecord> parseOriginalRecord(std::string_view bytes)
{
    if (!bytes.starts_with(kMark) || bytes.size() < kHeadBytes)
        return std::nullopt;
    const std::string_view name = bytes.substr(kHeadBytes);
    if (name.size() != numberAt(bytes, kHeadBytes - 2, 2) || !isFileName(name))
        return std::nullopt;
    OriginalRecord record;
    record.name = name;
    record.content.size = numberAt(bytes, kMark.size(), 8);
    const std::string_view digest = bytes.substr(kMark.size() + 8, kDigestBytes);
    std::copy(digest.begin(), digest.end(), record.content.sha256.begin());
    return record;
}

} // namespace dng
