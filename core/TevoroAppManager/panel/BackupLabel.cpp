#include "TevoroAppManager/panel/BackupLabel.h"

#include "TevoroAppManager/contract/IClientUIHandler.h"
#include "TevoroAppManager/panel/FitPath.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QRect>

// Bold or not is all that a host says of the weight.
QFont fontOf(IClientUIControl& label)
{
    QFont font(QString::fromUtf8(label.GetFontFamily()),
        label.GetFontSize(),
        label.IsFontBold() ? QFont::Bold : QFont::Normal);
    font.setItalic(label.IsFontItalic());
    return font;
}

// Both corners lie inside the label: hence one less than its width and height.
QString fittedTo(IClientUIControl& label, const QString& path)
{
    if (!qGuiApp)
        return path;
    const QRect rect(
        QPoint(0, 0), QPoint(label.GetControlWidth() - 1, label.GetControlHeight() - 1));
    QString fitted;
    fitPath(path, fitted, QFontMetrics(fontOf(label)), rect);
    return fitted;
}
