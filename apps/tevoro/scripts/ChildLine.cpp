#include "tevoro/scripts/ChildLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace tevoro {

namespace {

// Strict: the texts go on into the browser and over the bus.
std::optional<QString> textIn(const QJsonValue& value)
{
    const QString text = value.toString();
    return value.isString() && text.isValidUtf16() ? std::optional(text) : std::nullopt;
}

std::optional<ChildLine> readyFrom(const QJsonObject& object)
{
    const auto gap = textIn(object[QStringLiteral("ready")]);
    return gap && object.size() == 1 ? std::optional<ChildLine>(ChildReady{*gap}) : std::nullopt;
}

std::optional<ChildLine> resultFrom(const QJsonObject& object)
{
    const auto text = textIn(object[QStringLiteral("result")]);
    return text && object.size() == 1 ? std::optional<ChildLine>(ChildResult{*text}) : std::nullopt;
}

std::optional<ChildLine> errorFrom(const QJsonObject& object)
{
    const auto text = textIn(object[QStringLiteral("error")]);
    const QJsonValue number = object[QStringLiteral("line")];
    const int line = number.toInt(-1); // -1, too, for what is no whole number
    if (!text || line < 0 || object.size() != 2)
        return std::nullopt;
    return ChildError{*text, line};
}

std::optional<ChildLine> callFrom(const QJsonObject& object)
{
    const auto name = textIn(object[QStringLiteral("call")]);
    const QJsonValue list = object[QStringLiteral("arguments")];
    const QJsonArray arguments = list.toArray();
    if (!name || !list.isArray() || object.size() != 2 || arguments.size() > 1)
        return std::nullopt;
    ChildCall call{*name, std::nullopt};
    if (!arguments.isEmpty()) {
        call.argument = textIn(arguments.first());
        if (!call.argument)
            return std::nullopt;
    }
    return call;
}

} // namespace

std::optional<ChildLine> readChildLine(const QByteArray& line)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    for (const auto read : {readyFrom, callFrom, resultFrom, errorFrom})
        if (auto message = read(object))
            return message;
    return std::nullopt;
}

std::optional<QByteArray> LineBuffer::take()
{
    const qsizetype end = m_bytes.indexOf('\n', m_searched);
    m_searched = end == -1 ? m_bytes.size() : 0;
    if (end == -1 || end > m_longest)
        return std::nullopt;
    QByteArray line = m_bytes.first(end);
    m_bytes.remove(0, end + 1);
    return line;
}

bool LineBuffer::isTooLong() const
{
    if (m_bytes.size() <= m_longest)
        return false;
    const qsizetype end = m_bytes.indexOf('\n');
    return end == -1 || end > m_longest;
}

void LineBuffer::clear()
{
    m_bytes.clear();
    m_searched = 0;
}

} // namespace tevoro
