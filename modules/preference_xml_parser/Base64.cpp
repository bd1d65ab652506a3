#include "preference_xml_parser/Base64.h"

#include <algorithm>
#include <cstddef>

namespace preferences {
namespace {

constexpr std::string_view kDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bool isWhite(char character)
{
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

std::string withoutWhiteSpace(std::string_view text)
{
    std::string digits(text);
    digits.erase(std::remove_if(digits.begin(), digits.end(), isWhite), digits.end());
    return digits;
}

// The value of one digit as it stands in the alphabet; npos for none.
std::size_t digitValue(char digit)
{
    return kDigits.find(digit);
}

// The next three bytes as one number. The last group is filled up with zero bits: a reader knows
// from the padding that they mean nothing.
unsigned int bitsOf(std::string_view group)
{
    unsigned int bits = 0;
    for (std::size_t i = 0; i < 3; ++i)
        bits = (bits << 8U) | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    return bits;
}

} // namespace

std::string base64FromBytes(std::string_view bytes)
{
    std::string text;
    text.reserve((bytes.size() / 3 + 1) * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::string_view group = bytes.substr(at, 3);
        const unsigned int bits = bitsOf(group);
        for (std::size_t i = 0; i < 4; ++i)
            text.push_back(i <= group.size() ? kDigits[(bits >> (18U - 6U * i)) & 0x3fU] : '=');
    }
    return text;
}

std::optional<std::string> bytesFromBase64(std::string_view text)
{
    std::string digits = withoutWhiteSpace(text);
    // Padding is required, so that a text that was cut off does not pass for a shorter one.
    if (digits.size() % 4 != 0)
        return std::nullopt;
    for (int padding = 0; padding < 2 && !digits.empty() && digits.back() == '='; ++padding)
        digits.pop_back();
    std::string bytes;
    unsigned int bits = 0;
    unsigned int held = 0;
    for (const char digit : digits) {
        const std::size_t value = digitValue(digit);
        if (value == std::string_view::npos)
            return std::nullopt;
        // At most six bits are left over from before, so twelve are all that matter.
        bits = ((bits << 6U) | static_cast<unsigned int>(value)) & 0xfffU;
        held += 6;
        if (held >= 8) {
            held -= 8;
            bytes.push_back(static_cast<char>(static_cast<unsigned char>(bits >> held)));
        }
    }
    // Bits that stand for no byte have to be 0, or two texts would mean the same bytes and a value
    // would not come back as it was written.
    const bool bitsLeft = (bits & ((1U << held) - 1U)) != 0;
    return bitsLeft ? std::nullopt : std::optional(bytes);
}

} // namespace preferences
