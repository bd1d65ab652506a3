#include "preference_xml_parser/PreferenceStore.h"

#include "preference_xml_parser/PreferenceText.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <utility>

namespace preferences {
namespace {

// The one identifier that QueryInterface knows.
constexpr long kStoreItself = 0;
constexpr int kLastDomain = 255;

bool isKnownDomain(int domain)
{
    return domain >= 0 && domain <= kLastDomain;
}

// The one place where exceptions end: a lack of memory is a false result.
template <typename Operation>
bool guarded(Operation operation) noexcept
{
    try {
        return operation();
    } catch (...) {
        return false;
    }
}

std::u16string textFrom(const unsigned short* units, std::size_t length)
{
    return {units, units + length};
}

std::u16string textFrom(const unsigned short* terminated)
{
    std::size_t length = 0;
    while (terminated[length] != 0)
        ++length;
    return textFrom(terminated, length);
}

// How many units of a text fit, without tearing a surrogate pair apart.
std::size_t fittingLength(const std::u16string& text, std::size_t room)
{
    if (text.size() <= room)
        return text.size();
    const auto isBetween = [&](std::size_t at, char16_t from, char16_t to) {
        return text[at] >= from && text[at] <= to;
    };
    const bool tornPair =
        room > 0 && isBetween(room - 1, 0xd800, 0xdbff) && isBetween(room, 0xdc00, 0xdfff);
    return tornPair ? room - 1 : room;
}

std::optional<std::string> absolutePath(const unsigned short* units, int length)
{
    const std::optional<std::string> path =
        utf8FromUtf16(textFrom(units, static_cast<std::size_t>(length)));
    if (!path || path->find('\0') != std::string::npos)
        return std::nullopt;
    // The working folder may change later, and the store must not move with it.
    return std::filesystem::absolute(*path).string();
}

// A text that is too long is cut.
void copyTerminated(const std::u16string& text, unsigned short* buffer, int capacity)
{
    const std::size_t length = fittingLength(text, static_cast<std::size_t>(capacity) - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = 0;
}

} // namespace

PreferenceStore::PreferenceStore(StoreChain& chain)
    : m_chain(chain)
    , m_next(chain.first)
{
    if (m_next != nullptr)
        m_next->m_previous = this;
    m_chain.first = this;
}

PreferenceStore::~PreferenceStore()
{
    (m_previous != nullptr ? m_previous->m_next : m_chain.first) = m_next;
    if (m_next != nullptr)
        m_next->m_previous = m_previous;
}

std::int32_t PreferenceStore::QueryInterface(long id, void** out)
{
    if (out == nullptr)
        return 0;
    const bool known = id == kStoreItself;
    *out = known ? static_cast<IPtPreferences*>(this) : nullptr;
    if (known)
        AddRef();
    return known ? 1 : 0;
}

std::uint32_t PreferenceStore::AddRef()
{
    return ++m_references;
}

std::uint32_t PreferenceStore::Release()
{
    const std::uint32_t left = --m_references;
    if (left == 0)
        delete this;
    return left;
}

bool PreferenceStore::InitStore(const unsigned short* path, int pathLength)
{
    return guarded([&] {
        if (path == nullptr || pathLength <= 0)
            return false;
        std::optional<std::string> folder = absolutePath(path, pathLength);
        if (!folder || !makeStoreFolder(*folder))
            return false;
        m_folder = *std::move(folder);
        // Values of the old folder must not be saved into the new one.
        m_domains.clear();
        return true;
    });
}

bool PreferenceStore::LoadStore(int domain)
{
    return guarded([&] {
        return isKnownDomain(domain) && !m_folder.empty()
            && m_domains[domain].load(PreferenceFile(m_folder, domain));
    });
}

bool PreferenceStore::SaveStore(int domain)
{
    return guarded([&] {
        return isKnownDomain(domain) && !m_folder.empty()
            && m_domains[domain].save(PreferenceFile(m_folder, domain));
    });
}

bool PreferenceStore::GetValue(
    int domain, const unsigned short* key, unsigned short* buffer, int capacity)
{
    return guarded([&] {
        if (buffer == nullptr || capacity <= 0)
            return false;
        const auto* const text = find<std::u16string>(domain, key);
        if (text == nullptr)
            return false;
        // A text that was cut still counts as found, on purpose: callers pass buffers of a fixed
        // size.
        copyTerminated(*text, buffer, capacity);
        return true;
    });
}

bool PreferenceStore::GetBytes(
    int domain, const unsigned short* key, unsigned char** buffer, int size)
{
    return guarded([&] {
        if (buffer == nullptr || *buffer == nullptr || size < 0)
            return false;
        const auto* const bytes = find<std::string>(domain, key);
        if (bytes == nullptr)
            return false;
        // A shorter value leaves the rest of the buffer as it was.
        std::copy_n(
            bytes->begin(), std::min(bytes->size(), static_cast<std::size_t>(size)), *buffer);
        return true;
    });
}

bool PreferenceStore::SetValue(
    int domain, const unsigned short* key, const unsigned short* value, int length)
{
    return guarded([&] {
        return value != nullptr && length >= 0
            && set(domain, key, textFrom(value, static_cast<std::size_t>(length)));
    });
}

bool PreferenceStore::SetBytes(
    int domain, const unsigned short* key, const unsigned char* bytes, int size)
{
    return guarded([&] {
        return bytes != nullptr && size >= 0 && set(domain, key, std::string(bytes, bytes + size));
    });
}

// Null for a domain or key that is not there, and for a value of the other kind.
template <typename Kind>
const Kind* PreferenceStore::find(int domain, const unsigned short* key) const
{
    const auto held = m_domains.find(domain);
    if (key == nullptr || held == m_domains.end())
        return nullptr;
    const PreferenceValue* const value = held->second.find(textFrom(key));
    return value != nullptr ? std::get_if<Kind>(value) : nullptr;
}

bool PreferenceStore::set(int domain, const unsigned short* key, PreferenceValue value)
{
    if (key == nullptr || !isKnownDomain(domain))
        return false;
    m_domains[domain].set(textFrom(key), std::move(value));
    return true;
}

} // namespace preferences
