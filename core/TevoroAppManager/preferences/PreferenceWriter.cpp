#include "TevoroAppManager/preferences/PreferenceWriter.h"

#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/preferences/PreferenceReader.h"

void PreferenceWriter::text(const char* key, const QString& value)
{
    m_store.SetValue(kPreferenceDomain,
        fxUnits(QString::fromLatin1(key)),
        fxUnits(value),
        static_cast<int>(value.size()));
}

// Numbers go out as decimal text: the store knows texts and byte strings only.
void PreferenceWriter::integer(const char* key, int value)
{
    text(key, QString::number(value));
}

void PreferenceWriter::bytes(const char* key, const std::string& value)
{
    m_store.SetBytes(kPreferenceDomain,
        fxUnits(QString::fromLatin1(key)),
        reinterpret_cast<const unsigned char*>(value.data()),
        static_cast<int>(value.size()));
}
