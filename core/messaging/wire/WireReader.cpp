#include "messaging/wire/WireReader.h"

#include "messaging/BusWords.h"
#include "messaging/wire/Identity.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>

namespace ScObjects::TevoroTalkData {

namespace {

using Message = TevoroTalk::Message;

// More custom headers than any program sends; what follows is not kept, so that a text of many
// short lines costs neither memory nor time beyond its own size.
constexpr int kMaxHeaders = 4096;
// From here on a look at each header in turn takes longer than an index.
constexpr int kIndexedHeaders = 32;

// A later time counts as this one, so that deadlines, times plus time-outs, stay numbers.
constexpr unsigned long long kLatestTime = 1ULL << 53U;

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As strtoull reads it, which wants a terminated copy.
unsigned long long numberOf(std::string_view value)
{
    while (!value.empty() && isBlank(value.front()))
        value.remove_prefix(1);
    // -1 and 4294967295 are the same number on the wire, so a sign is read and wraps around.
    const bool isNegative = value.starts_with('-');
    if (isNegative || value.starts_with('+'))
        value.remove_prefix(1);
    unsigned long long number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc::result_out_of_range)
        return std::numeric_limits<unsigned long long>::max();
    return isNegative ? 0 - number : number;
}

std::uint32_t number32(std::string_view value)
{
    return static_cast<std::uint32_t>(numberOf(value));
}

} // namespace

bool isUnmarkedVersion(std::string_view version)
{
    return version.empty() || version == "1.0" || version == "2.0";
}

WireReader::WireReader(Message& message, const char* text, const char* end)
    : m_message(message)
    , m_at(text)
    , m_end(end)
    , m_digestStart(text)
{
}

void WireReader::readHead()
{
    while (m_at != m_end && *m_at != '\0') {
        if (*m_at == '\n') {
            ++m_at;
            return;
        }
        const std::string_view name = readUpTo(':');
        const std::string_view value = readUpTo('\n');
        takeLine(name, value);
    }
}

void WireReader::passBody()
{
    const auto there = static_cast<std::size_t>(m_end - m_at);
    m_body = {m_at, std::min<std::size_t>(m_message.contentLength, there)};
    m_at += m_body.size();
}

bool WireReader::hasWrongDigest() const
{
    if (m_md5.empty())
        return false;
    const std::string_view checked(m_digestStart, static_cast<std::size_t>(m_at - m_digestStart));
    const auto isWrong = [&] { return digestOf(checked).view() != m_md5; };
    // With another salt it may be right.
    return isWrong() && (!lookForSaltAgain() || isWrong());
}

const char* WireReader::skipLineFeeds()
{
    while (m_at != m_end && *m_at == '\n')
        ++m_at;
    return m_at;
}

// The text up to a mark or a NUL; steps over the mark.
std::string_view WireReader::readUpTo(char mark)
{
    const auto left = static_cast<std::size_t>(m_end - m_at);
    const void* const found = std::memchr(m_at, mark, left);
    const char* stop = found != nullptr ? static_cast<const char*>(found) : m_end;
    const auto length = static_cast<std::size_t>(stop - m_at);
    // A NUL ends the line, and in readHead the whole head. Streams have replaced it by then;
    // other callers have not.
    if (const void* const nul = std::memchr(m_at, '\0', length))
        stop = static_cast<const char*>(nul);
    const std::string_view text(m_at, static_cast<std::size_t>(stop - m_at));
    m_at = stop != m_end && *stop == mark ? stop + 1 : stop;
    return text;
}

void WireReader::takeLine(std::string_view name, std::string_view value)
{
    if (takeVersion(name, value) || takeText(name, value) || takeNumber(name, value)
        || takeDigest(name, value))
        return;
    if (m_stripsPrefix && name.starts_with(kHeaderPrefix))
        name.remove_prefix(std::strlen(kHeaderPrefix));
    if (m_headerCount++ < kMaxHeaders && !name.empty())
        takeHeader(name, value);
}

bool WireReader::takeVersion(std::string_view name, std::string_view value)
{
    if (name == "Version") {
        // With the prefix it is never one of the unmarked versions.
        m_message.version = kQKPrefix;
        m_message.version.append(value);
        return true;
    }
    if (name != QK_VERSION)
        return false;
    m_message.version.assign(value);
    // Only a line that says so switches the marks off. A text without a version line counts as
    // 1.0, and its marks are removed all the same.
    if (isUnmarkedVersion(value))
        m_stripsPrefix = false;
    return true;
}

bool WireReader::takeText(std::string_view name, std::string_view value)
{
    SoString* const field = name == QK_SENDER ? &m_message.sender
        : name == QK_TARGET                   ? &m_message.target
        : name == QK_TYPE                     ? &m_message.type
        : name == QK_RESPONSE_REQUEST         ? &m_message.responseRequest
                                              : nullptr;
    if (field != nullptr)
        field->assign(value);
    return field != nullptr;
}

std::uint32_t* WireReader::numberField(std::string_view name)
{
    return name == QK_CONTENT_LENGTH ? &m_message.contentLength
        : name == QK_SERIAL_NUMBER   ? &m_message.serialNumber
        : name == QK_RECEIVED        ? &m_message.received
        : name == QK_RESULT          ? &m_message.result
        : name == QK_ERROR           ? &m_message.error
                                     : nullptr;
}

bool WireReader::takeNumber(std::string_view name, std::string_view value)
{
    if (std::uint32_t* const field = numberField(name))
        *field = number32(value);
    else if (name == QK_TIMEOUT)
        m_message.timeout = static_cast<std::int32_t>(number32(value));
    else if (name == QK_TIMESTAMP)
        m_message.timestamp = static_cast<std::int64_t>(std::min(numberOf(value), kLatestTime));
    else
        return false;
    return true;
}

bool WireReader::takeDigest(std::string_view name, std::string_view value)
{
    if (name == QK_DIGEST)
        m_digest = value;
    else if (name != QK_MD5)
        return false;
    // After an older digest line, which nobody checks, the newer one is not checked either.
    else if (!m_digest.empty())
        return true;
    else
        m_md5 = value;
    // The digest covers what follows its own line.
    m_digestStart = m_at;
    return true;
}

void WireReader::takeHeader(std::string_view name, std::string_view value)
{
    if (TevoroTalk::Header* const present = findHeader(name)) {
        present->value.assign(value);
        return;
    }
    TevoroTalk::Header* const header = m_message.addHeader(name, value);
    if (header != nullptr && !m_index.empty())
        index(header);
}

TevoroTalk::Header* WireReader::findHeader(std::string_view name)
{
    if (!hasIndex())
        return m_message.findHeader(name);
    const auto found = m_index.find(name);
    return found != m_index.end() ? found->second : nullptr;
}

bool WireReader::hasIndex()
{
    if (m_canIndex && m_index.empty() && m_headerCount >= kIndexedHeaders)
        for (auto* header = m_message.headers; header != nullptr; header = header->next)
            index(header); // of two of one name the first counts
    return !m_index.empty();
}

void WireReader::index(TevoroTalk::Header* header)
{
    if (!m_canIndex)
        return;
    try {
        m_index.emplace(header->name.view(), header);
    } catch (const std::bad_alloc&) {
        m_canIndex = false; // the headers themselves are searched, which only takes longer
        m_index.clear();
    }
}

} // namespace ScObjects::TevoroTalkData
