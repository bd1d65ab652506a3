#include "tevoro/scripts/TargetCalls.h"

#include "tevoro/scripts/ScriptTarget.h"

#include <QByteArray>

#include <algorithm>
#include <exception>

namespace tevoro {

namespace {

// Why the script gets an exception; empty for none.
using Refusal = QString;

Refusal folderRefusal(const QString& folder)
{
    if (folder.isEmpty())
        return QStringLiteral("the folder is empty");
    if (!folder.startsWith(QLatin1Char('/')))
        return QStringLiteral("the folder is not absolute: ") + folder;
    if (folder.contains(QChar(u'\0')))
        return QStringLiteral("the folder holds what is no character");
    if (folder.toUtf8().size() > kMaxFolder)
        return QStringLiteral("the folder's path is too long");
    return {};
}

Refusal statusRefusal(const QString& text)
{
    return text.size() > kMaxStatus ? QStringLiteral("the status is too long") : Refusal();
}

Refusal noRefusal(const QString&)
{
    return {};
}

Refusal browseTo(ScriptTarget& target, const QString& folder, QJsonValue&)
{
    target.browseTo(folder);
    return {};
}

Refusal shownFolder(ScriptTarget& target, const QString&, QJsonValue& value)
{
    value = target.shownFolder();
    return {};
}

Refusal showFolder(ScriptTarget& target, const QString& folder, QJsonValue&)
{
    target.showFolder(folder);
    return {};
}

Refusal bringToFront(ScriptTarget& target, const QString&, QJsonValue&)
{
    target.bringToFront();
    return {};
}

Refusal status(ScriptTarget& target, const QString&, QJsonValue& value)
{
    value = target.status();
    return {};
}

Refusal setStatus(ScriptTarget& target, const QString& text, QJsonValue&)
{
    target.setStatus(text);
    return {};
}

Refusal beep(ScriptTarget& target, const QString&, QJsonValue&)
{
    target.beep();
    return {};
}

Refusal runMediafetcher(ScriptTarget& target, const QString&, QJsonValue&)
{
    QString error;
    if (target.runMediafetcher(error))
        return {};
    return error.isEmpty() ? QStringLiteral("mfx cannot be started") : error;
}

struct Row {
    const char* name;
    bool needsDocument;
    bool takesText;
    Refusal (*refuses)(const QString& argument);
    Refusal (*make)(ScriptTarget& target, const QString& argument, QJsonValue& value);
};

constexpr Row kRows[] = {
    {"browseTo", false, true, folderRefusal, browseTo},
    {"shownFolder", true, false, noRefusal, shownFolder},
    {"showFolder", true, true, folderRefusal, showFolder},
    {"bringToFront", true, false, noRefusal, bringToFront},
    {"status", true, false, noRefusal, status},
    {"setStatus", true, true, statusRefusal, setStatus},
    {"beep", false, false, noRefusal, beep},
    {"runMediafetcher", false, false, noRefusal, runMediafetcher},
};

Refusal makeRow(const Row& row, const QString& argument, ScriptTarget& target, QJsonValue& value)
{
    try {
        if (row.needsDocument && target.documentCount() == 0)
            return QStringLiteral("there is no document");
        const Refusal refusal = row.refuses(argument);
        return refusal.isEmpty() ? row.make(target, argument, value) : refusal;
    } catch (const std::exception& error) {
        return QStringLiteral("the browser failed: ") + QString::fromUtf8(error.what());
    }
}

} // namespace

std::optional<QJsonObject> makeCall(const ChildCall& call, ScriptTarget& target)
{
    const auto* const row = std::ranges::find_if(
        kRows, [&](const Row& each) { return call.name == QLatin1String(each.name); });
    if (row == std::end(kRows) || row->takesText != call.argument.has_value())
        return std::nullopt;
    QJsonValue value;
    const Refusal refusal = makeRow(*row, call.argument.value_or(QString()), target, value);
    if (refusal.isEmpty())
        return QJsonObject{{QStringLiteral("value"), value}};
    return QJsonObject{{QStringLiteral("error"), refusal}};
}

} // namespace tevoro
