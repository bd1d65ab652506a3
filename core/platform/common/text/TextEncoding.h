// Bytes in a legacy text encoding to and from UTF-16. What one side cannot express is replaced: by
// U+FFFD on the way to UTF-16, by "?" on the way back. An object belongs to one thread.
#pragma once

#include "platform/common/text/PtUnicode.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Pt {

// The encoding that the environment names for texts: the codeset of the first of LC_ALL, LC_CTYPE
// and LANG that is set and not empty. The locale need not be installed. Without a codeset there,
// what the system knows of that locale; "UTF-8" for none, "C", "POSIX" and what nobody knows. Reads
// the environment at each call; any thread.
std::string systemTextEncodingName();

class TextEncoding {
public:
    static constexpr std::size_t kNoLimit = static_cast<std::size_t>(-1);

    // An encoding that the system does not know is taken as UTF-8.
    explicit TextEncoding(const std::string& name);
    ~TextEncoding();
    TextEncoding(const TextEncoding&) = delete;
    TextEncoding& operator=(const TextEncoding&) = delete;

    // The system's encoding as the environment named it when the calling thread first asked. Do
    // not hand it to another thread.
    static TextEncoding& system();

    bool isUtf8() const { return m_isUtf8; }

    WideText decode(std::string_view bytes);
    // At most `limit` bytes, cut at a whole character.
    std::string encode(
        const unsigned short* units, std::size_t count, std::size_t limit = kNoLimit);

private:
    struct Converters;

    bool m_isUtf8;
    std::unique_ptr<Converters> m_converters;
};

} // namespace Pt
