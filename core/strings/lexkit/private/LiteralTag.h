// A key with its value or default, as it stands in a line of a dictionary, in units, or in a
// literal of a program, in bytes: "$$$/Some/Key=Text". Pure functions: any thread.
#pragma once

#include <algorithm>
#include <cstring>

namespace lexkit_private {

// Parts of the text that was split, which must outlive it.
template <typename Char>
struct LiteralTag {
    const Char* key = nullptr;
    unsigned long keyLength = 0;
    const Char* value = nullptr;
    unsigned long valueLength = 0;
};

inline const char* findEqualsSign(const char* text, const char* end)
{
    const void* const found = std::memchr(text, '=', static_cast<unsigned long>(end - text));
    return found ? static_cast<const char*>(found) : end;
}

inline const unsigned short* findEqualsSign(const unsigned short* text, const unsigned short* end)
{
    return std::find(text, end, u'=');
}

// False for a text that starts with "$" and not with "$$$". The first "=" ends the key; without
// one all is key. Nothing is trimmed.
template <typename Char>
bool ParseTag(const Char* text, unsigned long length, LiteralTag<Char>& tag)
{
    constexpr unsigned long kMarks = 3;
    constexpr Char kMark = '$';
    const Char* const end = text + length;
    if (length > 0 && *text == kMark) {
        if (length < kMarks || text[1] != kMark || text[2] != kMark)
            return false;
        text += kMarks;
    }
    const Char* const equals = findEqualsSign(text, end);
    tag.key = text;
    tag.keyLength = static_cast<unsigned long>(equals - text);
    tag.value = equals == end ? end : equals + 1;
    tag.valueLength = static_cast<unsigned long>(end - tag.value);
    return true;
}

// The same for a terminated literal; false for null and for an empty one, too.
inline bool ParseLiteral(const char* literal, LiteralTag<char>& tag)
{
    return literal != nullptr && *literal != 0 && ParseTag(literal, std::strlen(literal), tag);
}

} // namespace lexkit_private
