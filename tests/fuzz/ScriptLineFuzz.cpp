// Any bytes as what the program that runs scripts says, in pieces of any size: the lines are those
// of the bytes, a message holds nothing but text, and is read again as the same from its parts.

#include "fuzz/Require.h"
#include "tevoro/scripts/ChildLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>

using fuzz::require;
using tevoro::ChildLine;

namespace {

constexpr qsizetype kMaxLine = 512;

QJsonObject written(const tevoro::ChildReady& ready)
{
    return {{QStringLiteral("ready"), ready.gap}};
}

QJsonObject written(const tevoro::ChildCall& call)
{
    QJsonArray arguments;
    if (call.argument)
        arguments.append(*call.argument);
    return {{QStringLiteral("call"), call.name}, {QStringLiteral("arguments"), arguments}};
}

QJsonObject written(const tevoro::ChildResult& result)
{
    return {{QStringLiteral("result"), result.text}};
}

QJsonObject written(const tevoro::ChildError& error)
{
    require(error.line >= 0);
    return {{QStringLiteral("error"), error.text}, {QStringLiteral("line"), error.line}};
}

QByteArray textOf(const ChildLine& message)
{
    const QJsonObject object = std::visit([](const auto& each) { return written(each); }, message);
    for (const QJsonValue value : object)
        require(value.toString().isValidUtf16());
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void checkLine(const QByteArray& line)
{
    require(line.size() <= kMaxLine && !line.contains('\n'));
    const auto message = tevoro::readChildLine(line);
    if (!message)
        return;
    const QByteArray text = textOf(*message);
    const auto again = tevoro::readChildLine(text);
    require(again && again->index() == message->index() && textOf(*again) == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const qsizetype piece = bytes.isEmpty() ? 1 : 1 + bytes.size() % 37;
    tevoro::LineBuffer buffer(kMaxLine);
    QByteArray taken;
    for (qsizetype at = 0; at < bytes.size() && !buffer.isTooLong(); at += piece) {
        buffer.add(bytes.mid(at, piece));
        while (const auto line = buffer.take()) {
            checkLine(*line);
            taken += *line + '\n';
        }
    }
    require(bytes.startsWith(taken));
    // All of them, unless one was too long.
    const qsizetype rest = bytes.indexOf('\n', taken.size());
    require(buffer.isTooLong() ? rest == -1 || rest - taken.size() > kMaxLine : rest == -1);
    return 0;
}
