#include "platform/common/text/TextEncoding.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

namespace Pt {

namespace {

constexpr char kUtf8[] = "UTF-8";
constexpr unsigned short kReplacement = 0xFFFD;
constexpr std::size_t kStep = 4096; // bytes converted at a time at most

// One direction of conversion; not open for an encoding that the system does not know.
class Converter {
public:
    Converter(const char* to, const char* from)
        : m_handle(::iconv_open(to, from))
    {
    }
    ~Converter()
    {
        if (isOpen())
            ::iconv_close(m_handle);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // The error value is -1 as a pointer.
    bool isOpen() const { return reinterpret_cast<std::intptr_t>(m_handle) != -1; }

    void reset() { ::iconv(m_handle, nullptr, nullptr, nullptr, nullptr); }

    // Converts what fits and moves both ends on; 0 when all was taken, else the error number.
    int convert(char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft)
    {
        const auto result = ::iconv(m_handle, &in, &inLeft, &out, &outLeft);
        return result == static_cast<std::size_t>(-1) ? errno : 0;
    }

    // Writes what takes an encoding with shifts back to its start.
    int finish(char*& out, std::size_t& outLeft)
    {
        const auto result = ::iconv(m_handle, nullptr, nullptr, &out, &outLeft);
        return result == static_cast<std::size_t>(-1) ? errno : 0;
    }

private:
    iconv_t m_handle;
};

constexpr const char* wideName()
{
    return std::endian::native == std::endian::big ? "UTF-16BE" : "UTF-16LE";
}

std::string firstSet()
{
    for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return {};
}

// What the system knows of a locale that is installed.
std::string codesetOfLocale(const std::string& name)
{
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, name.c_str(), nullptr);
    if (!locale)
        return kUtf8;
    std::string codeset = ::nl_langinfo_l(CODESET, locale);
    ::freelocale(locale);
    return codeset;
}

bool namesUtf8(std::string name)
{
    std::erase(name, '-');
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    });
    return name == "UTF8";
}

bool isHighSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xD800;
}
bool isLowSurrogate(unsigned short unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

// Writes "?" for the character at `in`, which the encoding does not have or which is half of one,
// and moves behind it; E2BIG when there is no room.
int replaceCharacter(
    Converter& encoder, char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft)
{
    const auto* const at = reinterpret_cast<const unsigned short*>(in);
    // Both halves go together: one character, one question mark.
    const bool isPair = inLeft > 2 && isHighSurrogate(at[0]) && isLowSurrogate(at[1]);
    unsigned short question = u'?';
    char* replacement = reinterpret_cast<char*>(&question);
    std::size_t replacementLeft = sizeof question;
    // Through the encoder, because in an encoding with shifts "?" takes more than its byte.
    if (encoder.convert(replacement, replacementLeft, out, outLeft) == E2BIG)
        return E2BIG;
    const std::size_t size = isPair ? 2 * sizeof question : sizeof question;
    in += size;
    inLeft -= size;
    return 0;
}

} // namespace

std::string systemTextEncodingName()
{
    const std::string value = firstSet();
    const std::string locale = value.substr(0, value.find('@'));
    const std::size_t dot = locale.find('.');
    if (dot != std::string::npos && dot + 1 < locale.size())
        return locale.substr(dot + 1);
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return kUtf8;
    // With what follows the "@": the euro has made some locales another encoding.
    return codesetOfLocale(value);
}

struct TextEncoding::Converters {
    explicit Converters(const std::string& name)
        : decoder(wideName(), name.c_str())
        , encoder(name.c_str(), wideName())
    {
    }

    bool areOpen() const { return decoder.isOpen() && encoder.isOpen(); }

    Converter decoder;
    Converter encoder;
};

TextEncoding::TextEncoding(const std::string& name)
    : m_isUtf8(namesUtf8(name))
    , m_converters(std::make_unique<Converters>(m_isUtf8 ? kUtf8 : name))
{
    if (m_converters->areOpen())
        return;
    // UTF-8 is what nearly all texts are, and every system can convert it.
    m_converters = std::make_unique<Converters>(kUtf8);
    m_isUtf8 = true;
}

TextEncoding::~TextEncoding() = default;

TextEncoding& TextEncoding::system()
{
    // One for each thread: a converter keeps its state between two calls.
    thread_local TextEncoding encoding(systemTextEncodingName());
    return encoding;
}

WideText TextEncoding::decode(std::string_view bytes)
{
    WideText text;
    unsigned short step[kStep];
    char* in = const_cast<char*>(bytes.data()); // the system does not write there
    std::size_t inLeft = bytes.size();
    Converter& decoder = m_converters->decoder;
    // An earlier text may have ended in the middle of a shift.
    decoder.reset();
    while (inLeft > 0) {
        char* out = reinterpret_cast<char*>(step);
        std::size_t outLeft = sizeof step;
        const int error = decoder.convert(in, inLeft, out, outLeft);
        text.append(step, (sizeof step - outLeft) / sizeof *step);
        if (error == 0 || error == E2BIG)
            continue;
        // Not valid, or cut off at the end: one byte is given up, and the next looked at afresh.
        text.push_back(kReplacement);
        ++in;
        --inLeft;
    }
    char* out = reinterpret_cast<char*>(step);
    std::size_t outLeft = sizeof step;
    // Some decoders hold a character back until they know that no accent follows.
    decoder.finish(out, outLeft);
    return text.append(step, (sizeof step - outLeft) / sizeof *step);
}

std::string TextEncoding::encode(const unsigned short* units, std::size_t count, std::size_t limit)
{
    std::string text;
    char step[kStep];
    char* in = reinterpret_cast<char*>(const_cast<unsigned short*>(units)); // as in decode
    std::size_t inLeft = count * sizeof *units;
    Converter& encoder = m_converters->encoder;
    encoder.reset();
    while (inLeft > 0) {
        char* out = step;
        const std::size_t room = std::min(sizeof step, limit - text.size());
        std::size_t outLeft = room;
        int error = encoder.convert(in, inLeft, out, outLeft);
        if (error != 0 && error != E2BIG)
            error = replaceCharacter(encoder, in, inLeft, out, outLeft);
        text.append(step, room - outLeft);
        if (error == E2BIG && outLeft == room)
            return text; // the limit is reached
    }
    char* out = step;
    const std::size_t room = std::min(sizeof step, limit - text.size());
    std::size_t outLeft = room;
    encoder.finish(out, outLeft);
    return text.append(step, room - outLeft);
}

} // namespace Pt
