// Reads a lossless-JPEG stream of predictor 1 as its standard tells it, a bit at a time, and takes
// nothing else. Throws std::runtime_error for what is not exactly such a stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace test {

class PlainDecoder {
public:
    explicit PlainDecoder(std::vector<std::uint8_t> stream)
        : m_stream(std::move(stream))
    {
        readHead();
        readScan();
    }

    unsigned int precision = 0;
    unsigned int components = 0;
    unsigned int columns = 0; // samples in a row
    unsigned int rows = 0;
    std::vector<std::uint16_t> samples;

private:
    // From length and code to category.
    using Table = std::map<std::pair<unsigned int, unsigned int>, unsigned int>;

    static void require(bool condition, const char* what)
    {
        if (!condition)
            throw std::runtime_error(what);
    }
    unsigned int next8()
    {
        require(m_at < m_stream.size(), "the stream is cut off");
        return m_stream[m_at++];
    }
    unsigned int next16()
    {
        const unsigned int high = next8();
        return high << 8U | next8();
    }

    void readHead()
    {
        require(next16() == 0xffd8, "no start");
        unsigned int marker = next16();
        for (; marker == 0xffc4; marker = next16())
            readTable();
        require(marker == 0xffc3, "no lossless frame");
        const unsigned int length = next16();
        precision = next8();
        rows = next16();
        const unsigned int width = next16();
        components = next8();
        require(length == 8 + 3 * components && components == m_tables.size(), "components");
        columns = width * components;
        for (unsigned int c = 0; c < components; ++c)
            require(next8() == c && next16() == 0x1100, "component");
        require(
            next16() == 0xffda && next16() == 6 + 2 * components && next8() == components, "scan");
        for (unsigned int c = 0; c < components; ++c)
            require(next8() == c && next8() == c << 4U, "table of a component");
        require(next8() == 1 && next16() == 0, "predictor");
    }

    void readTable()
    {
        const std::size_t end = m_at + next16();
        require(next8() == m_tables.size(), "tables in order");
        std::array<unsigned int, 17> counts{};
        for (unsigned int length = 1; length <= 16; ++length)
            counts[length] = next8();
        Table table;
        unsigned int code = 0;
        for (unsigned int length = 1; length <= 16; ++length, code <<= 1U)
            for (unsigned int i = 0; i < counts[length]; ++i, ++code) {
                require(code + 1 < 1U << length, "a code of all ones");
                const unsigned int category = next8();
                require(category <= 16, "category");
                table[{length, code}] = category;
            }
        require(m_at == end, "length of a table");
        m_tables.push_back(std::move(table));
    }

    unsigned int bit()
    {
        if (m_bitsLeft == 0) {
            m_byte = next8();
            m_bitsLeft = 8;
            if (m_byte == 0xff)
                require(next8() == 0, "a marker among the data");
        }
        return m_byte >> --m_bitsLeft & 1U;
    }

    unsigned int difference(const Table& table)
    {
        unsigned int code = 0;
        for (unsigned int length = 1; length <= 16; ++length) {
            code = code << 1U | bit();
            const auto found = table.find({length, code});
            if (found != table.end())
                return valueOf(found->second);
        }
        throw std::runtime_error("no such code");
    }

    unsigned int valueOf(unsigned int category)
    {
        if (category == 16)
            return 32768;
        unsigned int value = 0;
        for (unsigned int i = 0; i < category; ++i)
            value = value << 1U | bit();
        const bool isNegative = category != 0 && value >> (category - 1) == 0;
        return isNegative ? value - (1U << category) + 1 : value;
    }

    void readScan()
    {
        samples.resize(std::size_t{columns} * rows);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const std::size_t x = i % columns;
            unsigned int predicted = 1U << (precision - 1);
            if (x >= components)
                predicted = samples[i - components];
            else if (i >= columns)
                predicted = samples[i - columns];
            samples[i] =
                static_cast<std::uint16_t>(predicted + difference(m_tables[x % components]));
        }
        while (m_bitsLeft != 0)
            require(bit() == 1, "padding of ones");
        require(next16() == 0xffd9 && m_at == m_stream.size(), "no end");
    }

    std::vector<std::uint8_t> m_stream;
    std::size_t m_at = 0;
    unsigned int m_byte = 0;
    unsigned int m_bitsLeft = 0;
    std::vector<Table> m_tables;
};

} // namespace test
