// The text of the bus: a mutable byte string, by convention UTF-8, that may contain any bytes.
// Always terminated by a NUL that is not counted. Not thread-safe: one thread at a time.
//
// Buffers are multiples of 128 bytes and never shrink. Short texts (names, types, numbers) are
// stored in the object itself, without an allocation.
//
// Without memory for a change the string keeps what it had, and hasFailed() says so.
#pragma once

#include "messaging/SoHeap.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace ScObjects {

class TEVOROTALK_API SoString : public SoHeap {
public:
    SoString()
        : m_data(m_inside)
        , m_capacity(kBlock)
    {
    }
    explicit SoString(char c);
    // Null counts as the empty text; a negative length means up to the NUL.
    SoString(const char* text, // NOLINT(google-explicit-constructor): texts pass freely
        long n = -1)
        : SoString(whole(text, n))
    {
    }
    explicit SoString(std::string_view text)
        : m_data(m_inside)
    {
        assign(text);
    }
    // From a terminated text of 16-bit units; `n` is -1 or its whole length. With a smaller `n` the
    // length is still that of the whole text, and only the beginning is converted.
    explicit SoString(const unsigned short* text, long n = -1);
    SoString(const SoString& other)
        : SoHeap(other)
        , m_data(m_inside)
    {
        assign(other.view());
        m_hasFailed |= other.m_hasFailed;
    }
    SoString(SoString&& other) noexcept;
    ~SoString() override
    {
        if (!isInside())
            freeHeap(m_data);
    }

    SoString& operator=(const SoString& other);
    SoString& operator=(SoString&& other) noexcept;
    SoString& operator=(const char* text);

    // Replaces the content. The text must not lie in this string's own buffer.
    void assign(const char* text, long n = -1) { assign(whole(text, n)); }
    void assign(std::string_view text)
    {
        const long size = static_cast<long>(text.size());
        const bool isTooSmall = m_capacity <= size || (isInside() && size >= kInside);
        m_hasFailed = isTooSmall && !makeRoom(size, 0);
        if (m_hasFailed)
            return;
        if (size != 0)
            std::memcpy(m_data, text.data(), text.size());
        terminate(size);
    }
    // Adds at the end. Again, the text must not lie in this string's own buffer.
    void append(const char* text, long n = -1) { append(whole(text, n)); }
    void append(std::string_view text)
    {
        const long added = static_cast<long>(text.size());
        if (added == 0)
            return;
        if (m_length + added >= (isInside() ? kInside : m_capacity)
            && !makeRoom(m_length + added, m_length)) {
            m_hasFailed = true;
            return;
        }
        std::memcpy(m_data + m_length, text.data(), text.size());
        terminate(m_length + added);
    }
    // Appends the number in decimal, a negative one as its unsigned value.
    void append(long number);

    // Never null; valid until the string changes.
    const char* get() const { return m_data; }
    // NOLINTNEXTLINE(google-explicit-constructor): the contract has texts pass for plain ones
    operator const char*() const { return m_data; }
    std::string_view view() const { return {m_data, static_cast<std::size_t>(m_length)}; }
    long length() const { return m_length; }
    bool isEmpty() const { return m_length == 0; }
    long capacity() const { return m_capacity; }
    // Whether something is missing, here or in what was copied or appended, because there was no
    // memory for it; until the next assign() or shrink(0).
    bool hasFailed() const { return m_hasFailed; }

    SoString& operator+=(char c);
    SoString& operator+=(const SoString& other);

    // Like strcmp, up to the first NUL; null counts as the empty text.
    int compare(const char* other) const;

    // Truncates to n bytes. Does nothing if n is negative or not below the length.
    void shrink(long n);
    // Removes the first n bytes. Does nothing if n is not positive or above the length.
    void removeFront(long n);
    // Makes room for that many bytes and the terminator. False, and no change, without the memory.
    bool reserve(long n);

    // By the system's toupper and tolower, byte for byte.
    SoString uppercase() const;
    SoString lowercase() const;

    // See UTF8_UTF16.
    unsigned long convertToUtf16(unsigned short* out, unsigned long max) const;

    // Allocates a block for a text of that length, for adopt(); null if there is no memory.
    static char* mallocText(long length);
    // Takes ownership of such a block, with the text that was written to it.
    void adopt(char* block, long length);

    // Exchanges the contents without copying them.
    void swap(SoString& other) noexcept;

private:
    // A null text is the empty one; a negative length means up to the NUL.
    static std::string_view whole(const char* text, long n)
    {
        if (text == nullptr)
            return {};
        return {text, n < 0 ? std::strlen(text) : static_cast<std::size_t>(n)};
    }
    // What a text of that length takes.
    static long roundedUp(long length) { return (length + kBlock) & ~(kBlock - 1); }
    bool makeRoom(long length, long kept);
    void terminate(long length)
    {
        m_length = length;
        m_data[length] = '\0';
    }
    bool isInside() const { return m_data == m_inside; }

    static constexpr long kBlock = 128;
    static constexpr long kInside = 31; // with the terminator

    char* m_data;
    long m_length = 0;
    long m_capacity = 0; // of the buffer, there or to come
    char m_inside[kInside] = {};
    bool m_hasFailed = false;
};

inline bool operator==(const SoString& a, const char* b)
{
    return a.compare(b) == 0;
}
inline bool operator==(const SoString& a, const SoString& b)
{
    return a.compare(b.get()) == 0;
}
inline bool operator!=(const SoString& a, const char* b)
{
    return a.compare(b) != 0;
}
inline bool operator!=(const SoString& a, const SoString& b)
{
    return a.compare(b.get()) != 0;
}

// Each appends and returns the string. Integers are written without a sign: a negative one appears
// as the unsigned number of its width. A double is rounded to a whole number.
TEVOROTALK_API SoString& operator<<(SoString& out, const char* text);
TEVOROTALK_API SoString& operator<<(SoString& out, char c);
TEVOROTALK_API SoString& operator<<(SoString& out, const SoString& text);
TEVOROTALK_API SoString& operator<<(SoString& out, unsigned long number);
TEVOROTALK_API SoString& operator<<(SoString& out, long number);
TEVOROTALK_API SoString& operator<<(SoString& out, std::uint32_t number);
TEVOROTALK_API SoString& operator<<(SoString& out, std::int32_t number);
TEVOROTALK_API SoString& operator<<(SoString& out, double number);

} // namespace ScObjects
