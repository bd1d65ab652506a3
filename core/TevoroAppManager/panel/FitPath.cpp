#include "TevoroAppManager/panel/FitPath.h"

#include <QDir>
#include <QFontMetrics>
#include <QRect>

using namespace Qt::StringLiterals;

namespace {

const QString kDots = u"..."_s;

bool isNarrower(const QString& text, const QFontMetrics& metrics, int width)
{
    return metrics.horizontalAdvance(text) < width;
}

// Tries "/...", then ever fewer components behind it. Leaves the place of the last separator.
bool fitsBehindRoot(const QString& path,
    QString& out,
    const QFontMetrics& metrics,
    int width,
    qsizetype& lastSeparator)
{
    const QChar separator = QDir::separator();
    const qsizetype first = path.indexOf(separator);
    const QString head = path.left(first + 1) + kDots;
    lastSeparator = first;
    for (qsizetype n = path.indexOf(separator, first + 1); n >= 0;
         n = path.indexOf(separator, n + 1)) {
        out = head + path.mid(n);
        if (isNarrower(out, metrics, width))
            return true;
        lastSeparator = n;
    }
    return false;
}

// Up to the width itself: the strict comparisons elsewhere and this one that is not are meant so.
// The first letter goes unmeasured, as the whole name has just proved too wide.
void cutFromTheFront(QString& out, const QFontMetrics& metrics, int width)
{
    const int dots = metrics.horizontalAdvance(kDots);
    out.remove(0, 1);
    while (!out.isEmpty() && metrics.horizontalAdvance(out) + dots > width)
        out.remove(0, 1);
    out.prepend(kDots);
}

void fitName(const QString& name, QString& out, const QFontMetrics& metrics, int width)
{
    out = kDots + name;
    if (isNarrower(out, metrics, width))
        return;
    out = name; // without dots: a whole name says more than dots and a part of it
    if (!isNarrower(out, metrics, width))
        cutFromTheFront(out, metrics, width);
}

} // namespace

void fitPath(const QString& path, QString& out, const QFontMetrics& metrics, const QRect& rect)
{
    const int width = rect.right() - rect.left() - 1;
    QString whole = path;
    whole.replace(u'/', QDir::separator());
    out = whole;
    if (isNarrower(out, metrics, width) || !whole.contains(QDir::separator()))
        return;
    qsizetype lastSeparator = 0;
    if (fitsBehindRoot(whole, out, metrics, width, lastSeparator))
        return;
    out = kDots + whole.mid(lastSeparator);
    if (!isNarrower(out, metrics, width))
        fitName(whole.mid(whole.lastIndexOf(QDir::separator()) + 1), out, metrics, width);
}
