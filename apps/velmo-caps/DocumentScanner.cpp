#include "velmo-caps/DocumentScanner.h"

#include "velmo-caps/ConfigurationDocument.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace velmo_caps_cli {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kEndOfValue = "</Data>";
constexpr std::string_view kMark = "\xEF\xBB\xBF"; // of UTF-8 files
constexpr auto kNowhere = std::string_view::npos;

void appendUtf8(std::string& out, std::uint32_t code)
{
    const auto byte = [](std::uint32_t value) { return static_cast<char>(value); };
    if (code < 0x80) {
        out += byte(code);
    } else if (code < 0x800) {
        out += byte(0xC0U | (code >> 6U));
        out += byte(0x80U | (code & 0x3FU));
    } else if (code < 0x10000) {
        out += byte(0xE0U | (code >> 12U));
        out += byte(0x80U | ((code >> 6U) & 0x3FU));
        out += byte(0x80U | (code & 0x3FU));
    } else {
        out += byte(0xF0U | (code >> 18U));
        out += byte(0x80U | ((code >> 12U) & 0x3FU));
        out += byte(0x80U | ((code >> 6U) & 0x3FU));
        out += byte(0x80U | (code & 0x3FU));
    }
}

bool isCharacter(std::uint32_t code)
{
    return code != 0 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

} // namespace

std::string DocumentScanner::Tag::attribute(std::string_view key) const
{
    for (const auto& [each, value] : attributes)
        if (each == key)
            return value;
    return {};
}

DocumentScanner::DocumentScanner(std::string_view text)
    : m_text(text)
{
    // The store's texts end at a NUL.
    if (const std::size_t nul = text.find('\0'); nul != kNowhere) {
        m_at = nul;
        fail("there is a NUL byte");
    }
    take(kMark);
    requireUtf8();
}

// Only the declaration at the very beginning says how the bytes are meant.
void DocumentScanner::requireUtf8() const
{
    const std::string_view rest = m_text.substr(m_at);
    if (!rest.starts_with("<?xml") || kBlanks.find(rest.substr(5, 1)) == kNowhere)
        return;
    const std::string_view declaration = rest.substr(0, rest.find("?>"));
    const std::size_t word = declaration.find("encoding");
    const std::size_t begin = word != kNowhere ? declaration.find_first_of("\"'", word) : kNowhere;
    if (begin == kNowhere)
        return;
    const std::size_t end = declaration.find(declaration[begin], begin + 1);
    const std::string_view name = declaration.substr(begin + 1, end - begin - 1);
    const auto isCalled = [&](std::string_view known) {
        return std::ranges::equal(name, known, {}, [](char c) {
            return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        });
    };
    if (!isCalled("UTF-8") && !isCalled("US-ASCII") && !isCalled("ASCII"))
        fail("it is encoded as '" + std::string(name) + "', and only UTF-8 is read");
}

void DocumentScanner::fail(const std::string& text) const
{
    const auto begin = m_text.begin() + static_cast<std::ptrdiff_t>(m_countedTo);
    const auto end = m_text.begin() + static_cast<std::ptrdiff_t>(std::max(m_at, m_countedTo));
    throw DocumentError(m_line + static_cast<std::size_t>(std::count(begin, end, '\n')), text);
}

bool DocumentScanner::take(std::string_view word)
{
    if (!m_text.substr(m_at).starts_with(word))
        return false;
    m_at += word.size();
    return true;
}

void DocumentScanner::skipBlanks()
{
    m_at = std::min(m_text.find_first_not_of(kBlanks, m_at), m_text.size());
}

bool DocumentScanner::skip(std::string_view begin, std::string_view end)
{
    if (!m_text.substr(m_at).starts_with(begin))
        return false;
    const std::size_t found = m_text.find(end, m_at + begin.size());
    if (found == kNowhere)
        fail("'" + std::string(begin) + "' has no end");
    m_at = found + end.size();
    return true;
}

void DocumentScanner::skipNothings()
{
    do
        skipBlanks();
    while (skip("<!--", "-->") || skip("<?", "?>"));
}

std::size_t DocumentScanner::lineOfNext()
{
    skipNothings();
    const auto begin = m_text.begin() + static_cast<std::ptrdiff_t>(m_countedTo);
    const auto end = m_text.begin() + static_cast<std::ptrdiff_t>(m_at);
    m_line += static_cast<std::size_t>(std::count(begin, end, '\n'));
    m_countedTo = m_at;
    return m_line;
}

std::string DocumentScanner::word()
{
    const std::size_t end = std::min(m_text.find_first_of(" \t\r\n=<>/\"'", m_at), m_text.size());
    std::string result(m_text.substr(m_at, end - m_at));
    if (result.empty())
        fail("a name is missing");
    m_at = end;
    return result;
}

std::pair<std::string, std::string> DocumentScanner::attribute()
{
    std::string name = word();
    skipBlanks();
    if (!take("="))
        fail("the attribute " + name + " has no value");
    skipBlanks();
    const char quote = m_at < m_text.size() ? m_text[m_at] : '\0';
    const std::size_t end = quote == '"' || quote == '\'' ? m_text.find(quote, m_at + 1) : kNowhere;
    if (end == kNowhere)
        fail("the attribute " + name + " has no value in quotes");
    std::string value = unescaped(m_text.substr(m_at + 1, end - m_at - 1));
    m_at = end + 1;
    return {std::move(name), std::move(value)};
}

DocumentScanner::Tag DocumentScanner::tag()
{
    skipNothings();
    if (m_at == m_text.size())
        fail("the document ends too early");
    if (!take("<"))
        fail("here is text where a tag belongs");
    Tag tag;
    tag.isEnd = take("/");
    tag.name = word();
    for (skipBlanks(); !take(">"); skipBlanks()) {
        if (m_at == m_text.size())
            fail("<" + tag.name + " has no end");
        if (!tag.isEnd && take("/>")) {
            tag.isWhole = true;
            break;
        }
        if (tag.isEnd)
            fail("</" + tag.name + "> has more than a name");
        tag.attributes.push_back(attribute());
    }
    return tag;
}

// A value that is written as it is may itself have the end mark in it: the true one is followed by
// another tag of such a document.
std::size_t DocumentScanner::rawEnd() const
{
    for (std::size_t end = m_text.find(kEndOfValue, m_at); end != kNowhere;
         end = m_text.find(kEndOfValue, end + 1)) {
        const std::size_t next = m_text.find_first_not_of(kBlanks, end + kEndOfValue.size());
        const std::string_view rest = m_text.substr(std::min(next, m_text.size()));
        for (const std::string_view follower : {"<Data key=\"", "</Other>", "</Payload>", "<!--"})
            if (rest.starts_with(follower))
                return end;
    }
    return kNowhere;
}

std::string DocumentScanner::value()
{
    const std::size_t end = m_isEscaped ? m_text.find('<', m_at) : rawEnd();
    if (end == kNowhere)
        fail("<Data> has no end");
    const std::string_view text = m_text.substr(m_at, end - m_at);
    std::string result = m_isEscaped ? unescaped(text) : std::string(text);
    m_at = end;
    if (!take(kEndOfValue))
        fail("a value has a tag in it, in a document that says it is escaped");
    return result;
}

std::string DocumentScanner::unescaped(std::string_view text) const
{
    if (!m_isEscaped)
        return std::string(text);
    std::string result;
    while (!text.empty()) {
        const std::size_t mark = std::min(text.find('&'), text.size());
        result += text.substr(0, mark);
        text.remove_prefix(mark);
        if (text.empty())
            break;
        const std::size_t end = text.find(';');
        if (end == kNowhere)
            fail("'&' begins nothing that ends with ';'");
        result += character(text.substr(1, end - 1));
        text.remove_prefix(end + 1);
    }
    return result;
}

std::string DocumentScanner::character(std::string_view reference) const
{
    constexpr std::pair<std::string_view, const char*> kNamed[] = {
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    for (const auto& [name, text] : kNamed)
        if (reference == name)
            return text;
    const bool isHex = reference.starts_with("#x");
    const std::string_view digits =
        reference.substr(std::min<std::size_t>(isHex ? 2 : 1, reference.size()));
    std::uint32_t code = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), code, isHex ? 16 : 10);
    if (!reference.starts_with('#') || error != std::errc() || end != digits.data() + digits.size()
        || !isCharacter(code))
        fail("'&" + std::string(reference.substr(0, 20)) + ";' stands for no character");
    std::string result;
    appendUtf8(result, code);
    return result;
}

void DocumentScanner::requireEnd()
{
    skipNothings();
    if (m_at != m_text.size())
        fail("something follows </Configuration>");
}

} // namespace velmo_caps_cli
