#include "strings/PtZString.h"

#include <QDebug>

using namespace Qt::StringLiterals;

// No dictionary library is linked so far: every locale shows the default texts, exactly as they
// stand in the literals, and there is nothing to open or to close.
bool PtZString::openZStringDict(bool)
{
    return true;
}

bool PtZString::appendZStringDict(const QString&)
{
    return false;
}

void PtZString::closeZStringDict() { }

QString PtZString::getZString(const QString& literal)
{
    const qsizetype equals = literal.indexOf(u'=');
    if (equals < 0) {
        const QString message =
            u"ERROR: getZString(\""_s + literal + u"\") HAS MISSING OR IMPROPER TOKEN!!"_s;
        qDebug("%s", message.toLocal8Bit().constData());
        return literal;
    }
    return literal.mid(equals + 1);
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
