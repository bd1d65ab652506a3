#include "tevoro/scripts/child/ScriptEngine.h"

#include "tevoro/scripts/ChildExit.h"

#include <QFile>

#include <cstdlib>

namespace tevoro {

namespace {

constexpr QLatin1String kScriptName("script");

// Texts of the language may hold half a character, which others take for no text at all.
QString wholeCharacters(const QString& text)
{
    if (text.isValidUtf16())
        return text;
    QString whole = text;
    for (qsizetype i = 0; i < whole.size(); ++i)
        if (whole[i].isHighSurrogate() && i + 1 < whole.size() && whole[i + 1].isLowSurrogate())
            ++i;
        else if (whole[i].isSurrogate())
            whole[i] = QChar::ReplacementCharacter;
    return whole;
}

QJsonObject failure(const QString& text, int line)
{
    return {{QStringLiteral("error"), wholeCharacters(text)}, {QStringLiteral("line"), line}};
}

// Of the script, in the innermost frame that is its own; 0 when there is none. Frames read
// FUNCTION:LINE:COLUMN:file:NAME, and the name of a function may be any text.
int lineIn(const QStringList& frames)
{
    const QString end = QStringLiteral(":file:") + kScriptName;
    for (const QString& frame : frames) {
        if (!frame.endsWith(end))
            continue;
        const QStringList parts = frame.chopped(end.size()).split(QLatin1Char(':'));
        if (parts.size() >= 2)
            return std::max(0, parts[parts.size() - 2].toInt());
    }
    return 0;
}

QString sourceOfObjects()
{
    QFile file(QStringLiteral(":/objects.js"));
    if (!file.open(QIODevice::ReadOnly))
        std::_Exit(kChildUnable);
    return QString::fromUtf8(file.readAll());
}

} // namespace

ScriptEngine::ScriptEngine() = default;

QJSValue ScriptEngine::addObjects(ScriptHost& host)
{
    QJSEngine::setObjectOwnership(&host, QJSEngine::CppOwnership);
    static const QString source = sourceOfObjects();
    QJSValue objects =
        m_engine.evaluate(source, QStringLiteral("objects")).call({m_engine.newQObject(&host)});
    if (objects.isError())
        std::_Exit(kChildUnable);
    for (const QString& name : {QStringLiteral("app"), QStringLiteral("Thumbnail")})
        m_engine.globalObject().setProperty(name, objects.property(name));
    return objects;
}

QJsonObject ScriptEngine::outcomeOf(const QString& script, const QJSValue& functions)
{
    QStringList frames; // none unless an exception left the script
    const QJSValue value = m_engine.evaluate(script, kScriptName, 1, &frames);
    if (!frames.isEmpty()) {
        const QJSValue text = functions.property(QStringLiteral("errorText")).call({value});
        return failure(text.toString(), lineIn(frames));
    }
    const QJSValue outcome = functions.property(QStringLiteral("outcome")).call({value});
    const QJSValue result = outcome.property(QStringLiteral("result"));
    if (result.isString())
        return {{QStringLiteral("result"), wholeCharacters(result.toString())}};
    return failure(outcome.property(QStringLiteral("error")).toString(), 0);
}

QJsonObject ScriptEngine::run(const QJsonObject& order, Channel& channel, Watch& watch)
{
    ScriptHost host(m_engine, channel, order[QStringLiteral("documents")].toInt());
    const QJSValue functions = addObjects(host);
    const int limit = order[QStringLiteral("milliseconds")].toInt();
    watch.begin(m_engine, std::chrono::milliseconds(limit));
    QJsonObject outcome = outcomeOf(order[QStringLiteral("run")].toString(), functions);
    if (watch.end())
        return failure(
            QStringLiteral("the script took longer than %1 seconds").arg(limit / 1000.0), 0);
    return outcome;
}

} // namespace tevoro
