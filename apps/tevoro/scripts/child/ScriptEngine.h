// Runs one script in an engine of its own and says what it came to, as the line for the browser.
// Made ahead of the script, so that it need not wait for the engine. Thread that made it.
#pragma once

#include "tevoro/scripts/child/Channel.h"
#include "tevoro/scripts/child/ScriptHost.h"
#include "tevoro/scripts/child/Watch.h"

#include <QJSEngine>

namespace tevoro {

class ScriptEngine {
public:
    ScriptEngine();

    // Once. The script is interrupted when the watch says so.
    QJsonObject run(const QJsonObject& order, Channel& channel, Watch& watch);

private:
    QJSValue addObjects(ScriptHost& host);
    QJsonObject outcomeOf(const QString& script, const QJSValue& functions);

    QJSEngine m_engine;
};

} // namespace tevoro
