#include "tevoro/scripts/child/ScriptHost.h"

#include "tevoro/scripts/ChildExit.h"

#include <QJsonArray>

#include <cstdlib>

namespace tevoro {

ScriptHost::ScriptHost(QJSEngine& engine, Channel& channel, int documentCount)
    : m_engine(engine)
    , m_channel(channel)
    , m_documentCount(documentCount)
{
}

QJSValue ScriptHost::call(const QString& name, const QJSValue& argument)
{
    QJsonArray arguments;
    if (argument.isString()) {
        const QString text = argument.toString();
        // Half a character would reach the browser as another one: another folder's name.
        if (!text.isValidUtf16() || text.contains(QChar(u'\0'))) {
            m_engine.throwError(
                QJSValue::RangeError, QStringLiteral("the text holds what is no character"));
            return {};
        }
        arguments.append(text);
    }
    const QJsonObject answer =
        ask({{QStringLiteral("call"), name}, {QStringLiteral("arguments"), arguments}});
    if (const QJsonValue error = answer[QStringLiteral("error")]; error.isString()) {
        m_engine.throwError(error.toString());
        return {};
    }
    const QJsonValue value = answer[QStringLiteral("value")];
    return value.isString() ? QJSValue(value.toString()) : QJSValue();
}

QJsonObject ScriptHost::ask(const QJsonObject& question)
{
    if (!m_channel.write(question))
        return {{QStringLiteral("error"), QStringLiteral("the text is too long")}};
    const std::optional<QJsonObject> answer = m_channel.read();
    if (!answer)
        std::_Exit(kChildDone); // the browser is gone
    m_documentCount = (*answer)[QStringLiteral("documents")].toInt();
    return *answer;
}

} // namespace tevoro
