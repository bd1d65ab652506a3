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
    // The contract lets this fail, although it never does.
    if (!getApplicationLocale(buffer.data()))
        return u"en_us"_s;
    return QString::fromUtf16(reinterpret_cast<const char16_t*>(buffer.data()));
}

// Relative to the working folder, like all data of the host: its programs run from a folder beside
// shared_assets.
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
        // Binary, because the dictionary finds its line ends itself: in UTF-16 the byte 0x0A
        // occurs inside other characters as well.
        lexkit::basic_ifstream<char> file(
            path.toLocal8Bit().constData(), std::ios::in | std::ios::binary);
        dictionary.Read(&file);
        return true;
    } catch (const std::exception&) {
        // A damaged or unreadable dictionary must not stop the program: what was read so far stays,
        // and default texts replace the rest.
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
    // Before the old dictionary is closed: finding the locale looks up a text itself.
    const QString locale = dictionaryLocale();
    closeZStringDict();
    // The literals already are the English texts, so the English dictionary would only cost time.
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
        // Appending works without a prior open: the file then is the whole dictionary.
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
    // A mistake in the source, not in a dictionary. It is shown as it stands, so that somebody
    // notices.
    if (equals < 0) {
        const QString message =
            u"ERROR: getZString(\""_s + literal + u"\") HAS MISSING OR IMPROPER TOKEN!!"_s;
        qDebug("%s", message.toLocal8Bit().constData());
        return literal;
    }
    // Escapes in the default stay as they are, on purpose: converting them is left to the
    // dictionary.
    if (!smpDictionary)
        return literal.mid(equals + 1);
    try {
        // A null encoding: the bytes of a default are widened one by one. Keys are ASCII, so the
        // encoding of the locale does not change them.
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
