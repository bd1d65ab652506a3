#include "messaging/SoString.h"

#include "messaging/SoUnicode.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <utility>

namespace ScObjects {

namespace {

// Units that are converted when the caller gives no length.
constexpr unsigned long kMaxUtf16Text = 0x10000;

SoString& appendUnsigned(SoString& out, unsigned long number)
{
    // A 64-bit number has at most 20 digits.
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out.append(digits, static_cast<long>(end - digits));
    return out;
}

} // namespace

SoString::SoString(char c)
    : SoString()
{
    *this += c;
}

SoString::SoString(const unsigned short* text, long n)
    : SoString()
{
    if (text == nullptr || n == 0)
        return;
    // Never more than the text has, whatever the caller says.
    const unsigned long limit = n < 0 ? kMaxUtf16Text : static_cast<unsigned long>(n);
    unsigned long units = UTF16StrLenWithMax(text, limit);
    // The length of the whole text, even if only its front is converted, on purpose: see the
    // header.
    const long size = static_cast<long>(UTF8StrLen(text));
    m_hasFailed = !makeRoom(size, 0);
    if (m_hasFailed)
        return;
    const long written = static_cast<long>(UTF16_UTF8(text, m_data, units));
    // Nothing of what lay in memory before shows behind the front of a text that was cut.
    std::memset(m_data + written, 0, static_cast<std::size_t>(size - written));
    terminate(size);
}

SoString::SoString(SoString&& other) noexcept
    : SoString()
{
    swap(other);
}

SoString& SoString::operator=(const SoString& other)
{
    if (this != &other) {
        assign(other.m_data, other.m_length);
        m_hasFailed |= other.m_hasFailed;
    }
    return *this;
}

SoString& SoString::operator=(SoString&& other) noexcept
{
    if (this != &other) {
        swap(other);
        // The other one keeps the old buffer for its next text, and is empty, as callers of a move
        // expect.
        other.shrink(0);
    }
    return *this;
}

SoString& SoString::operator=(const char* text)
{
    assign(text);
    return *this;
}

void SoString::append(long number)
{
    appendUnsigned(*this, static_cast<unsigned long>(number));
}

SoString& SoString::operator+=(char c)
{
    append(&c, 1);
    return *this;
}

SoString& SoString::operator+=(const SoString& other)
{
    if (this == &other) {
        // Appending to itself may move the buffer that it reads from.
        const SoString copy(other);
        append(copy.m_data, copy.m_length);
        m_hasFailed |= copy.m_hasFailed;
    } else {
        append(other.m_data, other.m_length);
    }
    m_hasFailed |= other.m_hasFailed;
    return *this;
}

int SoString::compare(const char* other) const
{
    // Up to the first NUL, as the header says: names and types have none.
    return std::strcmp(m_data, other == nullptr ? "" : other);
}

void SoString::shrink(long n)
{
    if (n == 0)
        m_hasFailed = false;
    if (n < 0 || n >= m_length)
        return;
    terminate(n);
}

void SoString::removeFront(long n)
{
    if (n <= 0 || n > m_length)
        return;
    std::memmove(m_data, m_data + n, static_cast<std::size_t>(m_length - n));
    terminate(m_length - n);
}

bool SoString::reserve(long n)
{
    return makeRoom(n, m_length);
}

SoString SoString::uppercase() const
{
    SoString result(*this);
    // Through unsigned char: for a negative number toupper is undefined.
    for (long i = 0; i < result.m_length; ++i)
        result.m_data[i] =
            static_cast<char>(std::toupper(static_cast<unsigned char>(result.m_data[i])));
    return result;
}

SoString SoString::lowercase() const
{
    SoString result(*this);
    for (long i = 0; i < result.m_length; ++i)
        result.m_data[i] =
            static_cast<char>(std::tolower(static_cast<unsigned char>(result.m_data[i])));
    return result;
}

unsigned long SoString::convertToUtf16(unsigned short* out, unsigned long max) const
{
    return UTF8_UTF16(m_data, out, max);
}

char* SoString::mallocText(long length)
{
    return mallocThis<char>(static_cast<std::size_t>(roundedUp(length)));
}

void SoString::adopt(char* block, long length)
{
    if (!isInside())
        freeHeap(m_data);
    m_data = block;
    // The block was made by mallocText, which rounds in the same way.
    m_capacity = roundedUp(length);
    m_hasFailed = false;
    terminate(length);
}

void SoString::swap(SoString& other) noexcept
{
    const bool wasInside = isInside();
    const bool otherWasInside = other.isInside();
    // The short texts move with their bytes; a pointer to the own bytes must not move along.
    std::swap(m_inside, other.m_inside);
    std::swap(m_data, other.m_data);
    if (otherWasInside)
        m_data = m_inside;
    if (wasInside)
        other.m_data = other.m_inside;
    std::swap(m_length, other.m_length);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_hasFailed, other.m_hasFailed);
}

// Room for that many bytes and the terminator; keeps the first `kept` bytes.
// False, and no change, if there is no memory.
bool SoString::makeRoom(long length, long kept)
{
    const bool isTooSmall = m_capacity < length + 1;
    const long capacity = isTooSmall ? roundedUp(length) : m_capacity;
    // The capacity is announced before the block is there: a short text stays in the object until
    // it outgrows that.
    if (isInside() ? length < kInside : !isTooSmall) {
        m_capacity = capacity;
        return true;
    }
    char* const fresh = mallocThis<char>(static_cast<std::size_t>(capacity));
    if (fresh == nullptr)
        return false;
    if (kept != 0)
        std::memcpy(fresh, m_data, static_cast<std::size_t>(kept));
    fresh[kept] = '\0';
    if (!isInside())
        freeHeap(m_data);
    m_data = fresh;
    m_capacity = capacity;
    return true;
}

SoString& operator<<(SoString& out, const char* text)
{
    out.append(text);
    return out;
}

SoString& operator<<(SoString& out, char c)
{
    return out += c;
}

SoString& operator<<(SoString& out, const SoString& text)
{
    return out += text;
}

SoString& operator<<(SoString& out, unsigned long number)
{
    return appendUnsigned(out, number);
}

SoString& operator<<(SoString& out, long number)
{
    return appendUnsigned(out, static_cast<unsigned long>(number));
}

SoString& operator<<(SoString& out, std::uint32_t number)
{
    return appendUnsigned(out, number);
}

SoString& operator<<(SoString& out, std::int32_t number)
{
    return appendUnsigned(out, static_cast<std::uint32_t>(number));
}

SoString& operator<<(SoString& out, double number)
{
    // The longest double has 309 digits before its point.
    char digits[320];
    // Rounded to the nearest whole number; halves go to the even one.
    out.append(digits, std::snprintf(digits, sizeof digits, "%.0f", number));
    return out;
}

} // namespace ScObjects
