// Reads keys of the sink's domain from the preference store, in the order that the caller asks.
//
// One buffer serves all keys and is cleared only at the start: a key that the store leaves out
// takes the text of the key before it. That is part of how the store is read; `textIfThere` is for
// the keys that are exempt. Borrows the store; one thread.
#pragma once

#include "TevoroAppManager/contract/IPtPreferences.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>

// The domain of the store in which the sink keeps its keys.
inline constexpr int kPreferenceDomain = 3;

class PreferenceReader {
public:
    explicit PreferenceReader(IPtPreferences& store)
        : m_store(store)
    {
    }

    QString text(const char* key);
    std::optional<QString> textIfThere(const char* key);

    // Text that is no number gives 0.
    int integer(const char* key) { return text(key).toInt(); }
    bool boolean(const char* key) { return integer(key) != 0; }

    // At most `size` bytes, up to the first zero byte.
    QByteArray bytes(const char* key, int size);

private:
    IPtPreferences& m_store;
    std::array<unsigned short, 1024> m_buffer{};
};
