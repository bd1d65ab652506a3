// What scripts can do with the browser: the browser implements it, and ScriptRunner calls it while
// a script runs, in the thread that runs it. A call should be done in milliseconds: the script's
// time goes on meanwhile. An exception that leaves a call becomes one in the script, with its text.
#pragma once

#include <QString>

namespace tevoro {

class ScriptTarget {
public:
    // Folders are absolute paths; whether there is such a folder is for the browser to see.
    virtual void browseTo(const QString& folder) = 0;

    virtual int documentCount() const = 0;

    // Of the current document. Only called while there is one.
    virtual QString shownFolder() const = 0; // empty for none
    virtual void showFolder(const QString& folder) = 0;
    virtual void bringToFront() = 0;
    virtual QString status() const = 0;
    virtual void setStatus(const QString& text) = 0;

    virtual void beep() = 0;

    // False if it does not start; `error` then says why.
    virtual bool runMediafetcher(QString& error) = 0;

protected:
    ~ScriptTarget() = default;
};

} // namespace tevoro
