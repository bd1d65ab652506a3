// The one native object behind the objects that scripts see: takes their calls to the browser over
// the channel and waits for the answers. One script. Thread of the engine.
#pragma once

#include "tevoro/scripts/child/Channel.h"

#include <QJSEngine>
#include <QObject>

namespace tevoro {

class ScriptHost final : public QObject {
    Q_OBJECT

public:
    ScriptHost(QJSEngine& engine, Channel& channel, int documentCount);

    // Null is for no argument. Throws in the script what the browser refuses.
    Q_INVOKABLE QJSValue call(const QString& name, const QJSValue& argument = QJSValue::NullValue);

    // As of the last answer: only calls change it.
    Q_INVOKABLE int documentCount() const { return m_documentCount; }

private:
    QJsonObject ask(const QJsonObject& question);

    QJSEngine& m_engine;
    Channel& m_channel;
    int m_documentCount;
};

} // namespace tevoro
