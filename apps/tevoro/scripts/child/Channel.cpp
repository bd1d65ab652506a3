#include "tevoro/scripts/child/Channel.h"

#include "tevoro/scripts/ChildExit.h"

#include <QJsonDocument>

#include <cstdio>
#include <cstdlib>

namespace tevoro {

namespace {

// Nothing at the end of the input, whatever came since the last line.
std::optional<QByteArray> readLine()
{
    QByteArray line;
    int byte = 0;
    while ((byte = std::getc(stdin)) != EOF && byte != '\n') {
        if (line.size() == kMaxLine)
            std::_Exit(kChildConfused);
        line.append(static_cast<char>(byte));
    }
    return byte != EOF ? std::optional(line) : std::nullopt;
}

} // namespace

std::optional<QJsonObject> Channel::read()
{
    const std::optional<QByteArray> line = readLine();
    if (!line)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*line);
    if (!document.isObject())
        std::_Exit(kChildConfused);
    return document.object();
}

bool Channel::write(const QJsonObject& object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact);
    if (line.size() > kMaxLine)
        return false;
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
    std::putc('\n', stdout);
    if (std::fflush(stdout) != 0)
        std::_Exit(kChildDone);
    return true;
}

} // namespace tevoro
