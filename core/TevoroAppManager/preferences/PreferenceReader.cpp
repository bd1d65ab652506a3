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
    m_buffer.back() = 0;
    if (!isThere)
        return std::nullopt;
    return toQString(m_buffer.data());
}

QString PreferenceReader::text(const char* key)
{
    textIfThere(key);
    return toQString(m_buffer.data());
}

QByteArray PreferenceReader::bytes(const char* key, int size)
{
    const int asked = std::clamp(size, 0, kMaxBytes);
    QByteArray block(asked + 1, '\0');
    auto* start = reinterpret_cast<unsigned char*>(block.data());
    m_store.GetBytes(kPreferenceDomain, fxUnits(QString::fromLatin1(key)), &start, asked);
    return QByteArray(block.constData()); // up to the first zero
}
