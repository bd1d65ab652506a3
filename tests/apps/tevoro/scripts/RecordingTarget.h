#pragma once

#include "tevoro/scripts/ScriptTarget.h"

#include <QStringList>

#include <functional>

namespace test {

using namespace Qt::StringLiterals;

// A browser that writes down what scripts ask of it. As the real one, it has a document once it was
// told to browse.
class RecordingTarget final : public tevoro::ScriptTarget {
public:
    void browseTo(const QString& path) override
    {
        note(u"browseTo "_s + path);
        folder = path;
        documents = 1;
    }
    int documentCount() const override { return documents; }
    QString shownFolder() const override { return folder; }
    void showFolder(const QString& path) override
    {
        note(u"showFolder "_s + path);
        folder = path;
    }
    void bringToFront() override { note(QStringLiteral("bringToFront")); }
    QString status() const override { return text; }
    void setStatus(const QString& words) override
    {
        note(u"setStatus "_s + words);
        text = words;
    }
    void beep() override { note(QStringLiteral("beep")); }
    bool runMediafetcher(QString& error) override
    {
        note(QStringLiteral("runMediafetcher"));
        error = mediafetcherError;
        return error.isEmpty();
    }

    QStringList calls;
    int documents = 0;
    QString folder;
    QString text;
    QString mediafetcherError;
    std::function<void()> onCall; // behind each

private:
    void note(const QString& call)
    {
        calls += call;
        if (onCall)
            onCall();
    }
};

} // namespace test
