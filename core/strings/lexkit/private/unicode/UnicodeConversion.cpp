#include "lexkit/private/unicode/UnicodeConversion.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/unicode/Utf8.h"
#include "platform/common/text/TextEncoding.h"

#include <algorithm>
#include <string>

namespace lexkit_private {

namespace {

constexpr std::int32_t kDone = 0;

std::uint32_t selectorOf(const lexkit::EncodingInfo* encoding)
{
    return encoding ? encoding->GetSelector() : lexkit::EncodingInfo::kSystem;
}

Pt::WideText decodeSystem(const unsigned char* bytes, unsigned long count)
{
    return Pt::TextEncoding::system().decode({reinterpret_cast<const char*>(bytes), count});
}

std::int32_t fit(bool all)
{
    return all ? kDone : LXErrException::kBufferTooSmall;
}

} // namespace

// In a legacy encoding the length is known only after a conversion, so the text is converted twice.
std::int32_t UnicodeConversion::ToUnicodeSize(const unsigned char* bytes,
    unsigned long count,
    unsigned long* size,
    const lexkit::EncodingInfo* encoding)
{
    const bool isUtf8 = selectorOf(encoding) != 0 || Pt::TextEncoding::system().isUtf8();
    *size = isUtf8 ? decodedUtf8Size(bytes, count) : decodeSystem(bytes, count).size();
    return kDone;
}

// Selectors above 1 are measured as UTF-8 and converted as the system's text, as ever.
std::int32_t UnicodeConversion::ConvertToUnicode(const unsigned char* bytes,
    unsigned long count,
    unsigned short* units,
    unsigned long capacity,
    const lexkit::EncodingInfo* encoding)
{
    if (selectorOf(encoding) == lexkit::EncodingInfo::kUTF8) {
        // All or nothing here; a text in the system's encoding, below, is cut and reports a small
        // buffer.
        if (decodedUtf8Size(bytes, count) > capacity)
            return LXErrException::kBadParameter;
        decodeUtf8(bytes, count, units, capacity);
        return kDone;
    }
    if (Pt::TextEncoding::system().isUtf8()) {
        decodeUtf8(bytes, count, units, capacity);
        return fit(decodedUtf8Size(bytes, count) <= capacity);
    }
    const Pt::WideText text = decodeSystem(bytes, count);
    std::copy_n(text.data(), std::min<unsigned long>(text.size(), capacity), units);
    return fit(text.size() <= capacity);
}

std::int32_t UnicodeConversion::FromUnicodeSize(const unsigned short* units,
    unsigned long count,
    unsigned long* size,
    const lexkit::EncodingInfo* encoding)
{
    const bool isUtf8 = selectorOf(encoding) != 0 || Pt::TextEncoding::system().isUtf8();
    // Room for the terminator, which the caller writes.
    *size = 1
        + (isUtf8 ? encodedUtf8Size(units, count)
                  : Pt::TextEncoding::system().encode(units, count).size());
    return kDone;
}

std::int32_t UnicodeConversion::ConvertFromUnicode(const unsigned short* units,
    unsigned long count,
    unsigned char* bytes,
    unsigned long capacity,
    unsigned long* written,
    const lexkit::EncodingInfo* encoding)
{
    const bool isUtf8 =
        selectorOf(encoding) == lexkit::EncodingInfo::kUTF8 || Pt::TextEncoding::system().isUtf8();
    if (isUtf8) {
        *written = encodeUtf8(units, count, bytes, capacity);
        return fit(encodedUtf8Size(units, count) == *written);
    }
    const std::string text = Pt::TextEncoding::system().encode(units, count, capacity);
    std::copy(text.begin(), text.end(), bytes);
    *written = text.size();
    // Converted once more without a limit: that the text filled the room does not mean that it was
    // cut.
    return fit(Pt::TextEncoding::system().encode(units, count).size() == text.size());
}

} // namespace lexkit_private
