#include "tevoro/window/FactsText.h"

#include "tevoro/window/Words.h"

#include <QLocale>

#include <cmath>

namespace tevoro {

namespace {

QString number(double value, int digits)
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    QString text = locale.toString(value, 'f', digits);
    // "2.8", but "8": digits behind the point say something only when they are not 0.
    const QString point = locale.decimalPoint();
    while (digits > 0 && text.contains(point) && (text.endsWith(u'0') || text.endsWith(point)))
        text.chop(1);
    return text;
}

// Without a zone, as the camera has noted none.
QString dateText(const QDateTime& moment)
{
    return QLocale().toString(moment.date(), QLocale::LongFormat) + u' '
        + moment.time().toString(QStringLiteral("HH:mm:ss"));
}

} // namespace

QString exposureText(double seconds)
{
    if (seconds <= 0)
        return {};
    // As cameras show it: fractions below a third of a second.
    if (seconds < 0.3)
        return words(
            "$$$/Tevoro/Facts/FractionOfSecond=1/%1 s", number(std::round(1 / seconds), 0));
    return words("$$$/Tevoro/Facts/Seconds=%1 s", number(seconds, 1));
}

QString placeText(double latitude, double longitude)
{
    const QString north = latitude < 0 ? words("$$$/Tevoro/Facts/South=%1° S", number(-latitude, 5))
                                       : words("$$$/Tevoro/Facts/North=%1° N", number(latitude, 5));
    const QString east = longitude < 0 ? words("$$$/Tevoro/Facts/West=%1° W", number(-longitude, 5))
                                       : words("$$$/Tevoro/Facts/East=%1° E", number(longitude, 5));
    return north + QStringLiteral(", ") + east;
}

std::vector<std::pair<QString, QString>> factsText(const pictures::PictureFacts& facts)
{
    std::vector<std::pair<QString, QString>> rows;
    const auto add = [&rows](const char* label, const QString& value) {
        if (!value.isEmpty())
            rows.emplace_back(words(label), value);
    };
    if (facts.taken.isValid())
        add("$$$/Tevoro/Facts/Date=Date", dateText(facts.taken));
    add("$$$/Tevoro/Facts/Camera=Camera", facts.camera);
    add("$$$/Tevoro/Facts/Lens=Lens", facts.lens);
    if (facts.exposureSeconds)
        add("$$$/Tevoro/Facts/Exposure=Exposure", exposureText(*facts.exposureSeconds));
    if (facts.aperture)
        add("$$$/Tevoro/Facts/Aperture=Aperture",
            QStringLiteral("f/") + number(*facts.aperture, 1));
    if (facts.sensitivity)
        add("$$$/Tevoro/Facts/Sensitivity=Sensitivity",
            QStringLiteral("ISO %1").arg(*facts.sensitivity));
    if (facts.focalLength)
        add("$$$/Tevoro/Facts/FocalLength=Focal length",
            words("$$$/Tevoro/Facts/Millimetres=%1 mm", number(*facts.focalLength, 1)));
    if (facts.latitude && facts.longitude)
        add("$$$/Tevoro/Facts/Place=Place", placeText(*facts.latitude, *facts.longitude));
    if (!facts.size.isEmpty())
        add("$$$/Tevoro/Facts/Size=Size",
            words("$$$/Tevoro/Facts/Pixels=%1 × %2 pixels",
                QString::number(facts.size.width()),
                QString::number(facts.size.height())));
    return rows;
}

} // namespace tevoro
