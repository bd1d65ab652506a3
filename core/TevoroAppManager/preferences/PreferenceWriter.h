// Writes keys of the sink's domain into the preference store. Results of the store are not
// examined: SaveStore at the end reports a failure. Borrows the store; one thread.
#pragma once

#include "TevoroAppManager/contract/IPtPreferences.h"

#include <QString>

#include <string>

class PreferenceWriter {
public:
    explicit PreferenceWriter(IPtPreferences& store)
        : m_store(store)
    {
    }

    void text(const char* key, const QString& value);
    void integer(const char* key, int value);
    void boolean(const char* key, bool value) { integer(key, value ? 1 : 0); }
    void bytes(const char* key, const std::string& value);

private:
    IPtPreferences& m_store;
};
