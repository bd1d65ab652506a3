#include "TevoroAppManager/PreferenceWriter.h"

#include "TevoroAppManager/FxText.h"
#include "TevoroAppManager/PreferenceReader.h"

void PreferenceWriter::text(char const* key, const QString& value)
{
    m_store.SetValue(kPreferenceDomain,
        fxUnits(QString::fromLatin1(key)),
        fxUnits(value),
        static_cast<int>(value.size()));
}

void PreferenceWriter::integer(char const* key, int value)
{
    text(key, QString::number(value));
}

void PreferenceWriter::bytes(char const* key, const std::string& value)
{
    m_store.SetBytes(kPreferenceDomain,
        fxUnits(QString::fromLatin1(key)),
        reinterpret_cast<unsigned char const*>(value.data()),
        static_cast<int>(value.size()));
}
