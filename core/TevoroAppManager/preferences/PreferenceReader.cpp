#include "TevoroAppManager/preferences/PreferenceReader.h"

#include "TevoroAppManager/FxText.h"

#include <algorithm>

namespace {

constexpr int kValueCapacity = 260; // units that the store may write
constexpr int kMaxBytes = 1 << 20; // a stored size is not to be trusted with more

} // namespace

std::optional<QString> PreferenceReader::textIfThere(const char* key)
{
    const bool isThere = m_store.GetValue(
        kPreferenceDomain, fxUnits(QString::fromLatin1(key)), m_buffer.data(), kValueCapacity);
    m_buffer.back() = 0; // a store that forgets its terminator is not read beyond the buffer
    if (!isThere)
        return std::nullopt;
    return toQString(m_buffer.data());
}

// Whether the key was there is deliberately not looked at: if not, the buffer still holds the text
// of the key before it.
QString PreferenceReader::text(const char* key)
{
    textIfThere(key);
    return toQString(m_buffer.data());
}

QByteArray PreferenceReader::bytes(const char* key, int size)
{
    // One byte more than asked for, and zeroed: what the store writes always has an end.
    const int asked = std::clamp(size, 0, kMaxBytes);
    QByteArray block(asked + 1, '\0');
    auto* start = reinterpret_cast<unsigned char*>(block.data());
    m_store.GetBytes(kPreferenceDomain, fxUnits(QString::fromLatin1(key)), &start, asked);
    return QByteArray(block.constData()); // up to the first zero
}
