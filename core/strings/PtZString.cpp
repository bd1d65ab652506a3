#include "strings/PtZString.h"

#include "lexkit/Dictionary.h"
#include "lexkit/basic_ifstream.h"
#include "strings/ApplicationLocale.h"

#include <QDebug>
#include <QDir>
#include <QFile>

#include <array>
#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

lexkit::Dictionary* PtZString::smpDictionary = nullptr;

namespace {

QString dictionaryLocale()
{
    std::array<unsigned short, kApplicationLocaleCapacity> buffer{};
    if (!getApplicationLocale(buffer.data()))
        return u"en_us"_s;
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer.data()));
}

QString dictionaryFile(const QString& locale)
{
    return u"../shared_assets/locales"_s + QDir::separator() + locale + QDir::separator()
        + u"MFXStrings.dct"_s;
}

// A file that is not there is read as an empty one; what fails is a damaged file. The dictionary
// stays with what it has by then.
bool readFile(lexkit::Dictionary& dictionary, const QString& path)
{
    try {
        lexkit::basic_ifstream<char> file(
            path.toLocal8Bit().constData(), std::ios::in | std::ios::binary);
        dictionary.Read(&file);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

// Copies the units: they belong to the look-up's result, which is gone at the end of the statement.
QString toQString(const lexkit::ZString& text)
{
    const unsigned short* units = nullptr;
    unsigned long length = 0;
    text.GetInternalData(&units, &length);
    return QString(reinterpret_cast<const QChar*>(units), static_cast<qsizetype>(length));
}

} // namespace

bool PtZString::openZStringDict(bool force)
{
    // While the old dictionary is still open: the look-up of the locale takes a text from it.
    const QString locale = dictionaryLocale();
    closeZStringDict();
    // English stands in the program itself, and shows as it stands there.
    if (!force && locale.toLower() == "en_us"_L1)
        return true;
    try {
        smpDictionary = new lexkit::Dictionary;
    } catch (const std::exception&) {
        return false;
    }
    return readFile(*smpDictionary, dictionaryFile(locale));
}

bool PtZString::appendZStringDict(const QString& path)
{
    try {
        if (!smpDictionary)
            smpDictionary = new lexkit::Dictionary;
    } catch (const std::exception&) {
        return false;
    }
    return QFile::exists(path) && readFile(*smpDictionary, path);
}

void PtZString::closeZStringDict()
{
    delete std::exchange(smpDictionary, nullptr);
}

// The first "=" ends the key; those behind it are part of the text. Where a look-up fails, the text
// that stands in the program shows.
QString PtZString::getZString(const QString& literal)
{
    const qsizetype equals = literal.indexOf(u'=');
    if (equals < 0) {
        const QString message =
            u"ERROR: getZString(\""_s + literal + u"\") HAS MISSING OR IMPROPER TOKEN!!"_s;
        qDebug("%s", message.toLocal8Bit().constData());
        return literal;
    }
    if (!smpDictionary)
        return literal.mid(equals + 1);
    try {
        return toQString(smpDictionary->Lookup(literal.toLocal8Bit().constData(), nullptr));
    } catch (const std::exception&) {
        return literal.mid(equals + 1);
    }
}

QString PtZString::getCancelString()
{
    return getZString(u"$$$/PtZString/Cancel=Cancel"_s);
}

QString PtZString::getYesString()
{
    return getZString(u"$$$/PtZString/Yes=&Yes"_s);
}

QString PtZString::getNoString()
{
    return getZString(u"$$$/PtZString/No=&No"_s);
}

QString PtZString::getOKString()
{
    return getZString(u"$$$/PtZString/OK=OK"_s);
}
