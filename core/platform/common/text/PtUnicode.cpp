#include "platform/common/text/PtUnicode.h"

#include "platform/common/text/PtUcs.h"

namespace {

// What a decoder gives for input that is dropped. The terminator is code point 0.
constexpr char32_t kInvalid = 0xFFFFFFFF;
constexpr char32_t kEndOfUnicode = 0x110000;

bool isSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}
bool isHighSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDBFF;
}
bool isLowSurrogate(char32_t c)
{
    return c >= 0xDC00 && c <= 0xDFFF;
}

class Utf8Decoder {
public:
    Utf8Decoder(const char* bytes, std::size_t count)
        : m_bytes(bytes)
        , m_count(count)
    {
    }

    // 0 at a NUL and at the end of the input.
    char32_t next()
    {
        const unsigned char lead = peek();
        ++m_position;
        if (lead < 0x80)
            return lead;
        if ((lead & 0xE0) == 0xC0)
            return sequence(lead & 0x1Fu, 1, 0x80);
        if ((lead & 0xF0) == 0xE0)
            return sequence(lead & 0x0Fu, 2, 0x800);
        if ((lead & 0xF8) == 0xF0)
            return sequence(lead & 0x07u, 3, 0x10000);
        return kInvalid;
    }

private:
    unsigned char peek() const
    {
        return m_position < m_count ? static_cast<unsigned char>(m_bytes[m_position]) : 0;
    }

    // A wrong continuation byte stays to be read as the start of something else.
    char32_t sequence(char32_t value, int continuations, char32_t smallest)
    {
        for (int i = 0; i < continuations; ++i) {
            const unsigned char byte = peek();
            if ((byte & 0xC0) != 0x80)
                return kInvalid;
            ++m_position;
            value = value << 6 | (byte & 0x3Fu);
        }
        const bool isValid = value >= smallest && value < kEndOfUnicode && !isSurrogate(value);
        return isValid ? value : kInvalid;
    }

    const char* m_bytes;
    std::size_t m_count;
    std::size_t m_position = 0;
};

class Utf16Decoder {
public:
    Utf16Decoder(const unsigned short* units, std::size_t byteCount)
        : m_units(units)
        , m_count(byteCount / sizeof(unsigned short))
    {
    }

    // 0 at a NUL and at the end of the input.
    char32_t next()
    {
        const char32_t unit = peek();
        ++m_position;
        if (!isSurrogate(unit))
            return unit;
        // Only the lone half is dropped; what follows is read as a character of its own.
        if (!isHighSurrogate(unit) || !isLowSurrogate(peek()))
            return kInvalid;
        const char32_t low = peek();
        ++m_position;
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }

private:
    char32_t peek() const { return m_position < m_count ? m_units[m_position] : 0u; }

    const unsigned short* m_units;
    std::size_t m_count;
    std::size_t m_position = 0;
};

// Counts what it is given, and writes it where there is somewhere to write.
template <typename Unit>
class Output {
public:
    explicit Output(Unit* out)
        : m_out(out)
    {
    }
    void put(char32_t unit)
    {
        if (m_out)
            m_out[m_count] = static_cast<Unit>(unit);
        ++m_count;
    }
    std::size_t bytes() const { return m_count * sizeof(Unit); }

private:
    Unit* m_out;
    std::size_t m_count = 0;
};

void encode(Output<unsigned short>& out, char32_t c)
{
    if (c < 0x10000) {
        out.put(c);
        return;
    }
    out.put(0xD800 + ((c - 0x10000) >> 10));
    out.put(0xDC00 + ((c - 0x10000) & 0x3FF));
}

void encode(Output<char>& out, char32_t c)
{
    if (c < 0x80) {
        out.put(c);
        return;
    }
    const int continuations = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    const char32_t mark = continuations == 1 ? 0xC0 : continuations == 2 ? 0xE0 : 0xF0;
    out.put(mark | c >> 6 * continuations);
    for (int i = continuations - 1; i >= 0; --i)
        out.put(0x80 | (c >> 6 * i & 0x3F));
}

template <typename Unit, typename Decoder>
std::size_t convert(Decoder decoder, Unit* destination)
{
    Output<Unit> out(destination);
    for (;;) {
        const char32_t c = decoder.next();
        if (c != kInvalid)
            encode(out, c);
        // The terminator is written and counted as well.
        if (c == 0)
            return out.bytes();
    }
}

} // namespace

std::size_t UTF8ToUTF16HostEndian(const char* bytes, std::size_t count, unsigned short* out)
{
    return convert(Utf8Decoder(bytes, count), out);
}

std::size_t UTF16HostEndianToUTF8(const unsigned short* units, std::size_t byteCount, char* out)
{
    return convert(Utf16Decoder(units, byteCount), out);
}

namespace Pt {

std::string toUtf8(const unsigned short* text)
{
    const std::size_t byteCount = ptucslen(text) * sizeof(unsigned short);
    // Measured by a first pass without an output. The size has the terminator, which the string has
    // anyway.
    std::string result(UTF16HostEndianToUTF8(text, byteCount, nullptr) - 1, '\0');
    UTF16HostEndianToUTF8(text, byteCount, result.data());
    return result;
}

WideText toUtf16(std::string_view bytes)
{
    const std::size_t size = UTF8ToUTF16HostEndian(bytes.data(), bytes.size(), nullptr);
    WideText result(size / sizeof(unsigned short) - 1, 0);
    UTF8ToUTF16HostEndian(bytes.data(), bytes.size(), result.data());
    return result;
}

} // namespace Pt
