// A directory of a TIFF file, written byte by byte, in either byte order. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

class TiffMaker {
public:
    enum Type : std::uint16_t {
        kByte = 1,
        kText = 2,
        kShort = 3,
        kLong = 4,
        kUndefined = 7,
        kSignedRational = 10
    };

    explicit TiffMaker(bool isBigEndian = false)
        : m_isBigEndian(isBigEndian)
    {
    }

    // Each replaces what the tag had before.
    void add(std::uint16_t tag, Type type, std::size_t count, std::string value)
    {
        m_entries[tag] = {type, count, std::move(value)};
    }
    void bytes(std::uint16_t tag, const std::string& value)
    {
        add(tag, kByte, value.size(), value);
    }
    void text(std::uint16_t tag, const std::string& value)
    {
        add(tag, kText, value.size() + 1, value + '\0');
    }
    void shorts(std::uint16_t tag, const std::vector<std::size_t>& values)
    {
        add(tag, kShort, values.size(), numbers(values, 2));
    }
    void longs(std::uint16_t tag, const std::vector<std::size_t>& values)
    {
        add(tag, kLong, values.size(), numbers(values, 4));
    }
    void signedRationals(std::uint16_t tag, const std::vector<std::size_t>& values)
    {
        add(tag, kSignedRational, values.size() / 2, numbers(values, 4));
    }

    std::string numbers(const std::vector<std::size_t>& values, unsigned int bytes) const
    {
        std::string result;
        for (const std::size_t value : values)
            for (unsigned int i = 0; i < bytes; ++i)
                result += static_cast<char>(value >> 8 * (m_isBigEndian ? bytes - 1 - i : i));
        return result;
    }

    // A file with the directory behind its head, and its values behind the directory.
    std::string file() const
    {
        return (m_isBigEndian ? "MM" : "II") + numbers({42}, 2) + numbers({8}, 4) + directory(8);
    }

    // The directory and its values, to stand at this position of a file.
    std::string directory(std::size_t position, std::size_t next = 0) const
    {
        std::string head = numbers({m_entries.size()}, 2);
        std::string values;
        const std::size_t valuesAt = position + 2 + 12 * m_entries.size() + 4;
        for (const auto& [tag, entry] : m_entries) {
            head += numbers({tag, entry.type}, 2) + numbers({entry.count}, 4);
            if (entry.value.size() <= 4) {
                head += entry.value + std::string(4 - entry.value.size(), '\0');
                continue;
            }
            head += numbers({valuesAt + values.size()}, 4);
            values += entry.value;
            values.resize(values.size() + values.size() % 2);
        }
        return head + numbers({next}, 4) + values;
    }

private:
    struct Entry {
        Type type = kByte;
        std::size_t count = 0;
        std::string value;
    };

    const bool m_isBigEndian;
    std::map<std::uint16_t, Entry> m_entries; // in the order that the format wants
};

} // namespace test
