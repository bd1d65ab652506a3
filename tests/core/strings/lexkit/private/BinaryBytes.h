// Binary dictionaries made byte by byte, sound ones and wrong ones.
#pragma once

#include "core/strings/lexkit/DictionaryTexts.h"
#include "lexkit/private/ByteRunKey.h"

#include <cstdint>
#include <string>
#include <vector>

namespace lexkit_test {

inline std::string big(std::uint32_t number)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return bytes;
}

inline std::string bigShort(std::uint32_t number)
{
    return big(number).substr(2);
}

template <typename T>
std::string host(T number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

inline std::string bigUnits(std::u16string_view text)
{
    std::string bytes;
    for (const char16_t unit : text)
        bytes += bigShort(unit);
    return bytes;
}

inline std::string hostUnits(std::u16string_view text)
{
    std::string bytes;
    for (const char16_t unit : text)
        bytes += host(unit);
    return bytes;
}

inline std::string head(int major, int minor, int selector)
{
    return "ZString Binary Format" + std::string{static_cast<char>(major)}
    + static_cast<char>(minor) + static_cast<char>(selector);
}

inline std::uint32_t bucketOf(const std::string& key)
{
    return lexkit_private::ByteRunKey(key.data(), key.size(), false).Hash(1021);
}

struct Item {
    std::string key;
    std::string value; // its bytes
};

struct Bucket {
    std::uint32_t number;
    std::vector<Item> items;
};

// Version 1.5. The buckets stand as they are given, sound or not.
inline std::string version15(const std::vector<Bucket>& buckets, int selector = 0)
{
    std::string ends;
    std::string lengths;
    std::string numbers;
    std::string payload;
    std::uint32_t count = 0;
    for (const Bucket& bucket : buckets) {
        for (const Item& item : bucket.items) {
            lengths += big(static_cast<std::uint32_t>(item.key.size()));
            lengths += big(static_cast<std::uint32_t>(item.value.size()));
            payload += item.key + item.value;
            count += 2;
        }
        ends += big(count);
        numbers += bigShort(bucket.number);
    }
    return head(1, 5, selector) + big(static_cast<std::uint32_t>(buckets.size())) + ends + lengths
        + numbers + payload;
}

inline std::string item10(const Item& item)
{
    return host(static_cast<std::uint32_t>(item.key.size())) + item.key
        + host(static_cast<std::uint32_t>(item.value.size())) + item.value;
}

// Version 1.0, positions counted from `start`.
inline std::string version10(
    const std::vector<Bucket>& buckets, int selector = 0, std::uint32_t start = 0)
{
    std::string rows;
    std::string items;
    for (const Bucket& bucket : buckets) {
        rows += host(static_cast<std::uint16_t>(bucket.number));
        rows += host(start + static_cast<std::uint32_t>(items.size()));
        for (const Item& item : bucket.items)
            items += item10(item);
    }
    rows += host(std::uint16_t{0}) + host(start + static_cast<std::uint32_t>(items.size()));
    return head(1, 0, selector) + host(static_cast<std::uint16_t>(buckets.size() + 1)) + rows
        + items;
}

} // namespace lexkit_test
