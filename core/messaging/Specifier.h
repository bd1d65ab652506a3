// The address of an application on the bus: NAME_INSTANCE-VERSION-LOCALE#SUFFIX, of which all but
// the name may be missing. A component after a "-" is the version if it begins with a digit, else
// the locale. A value type without a lock.
//
// Only the text is stored: readers parse it at each call, setters rebuild it. Completion (fixUp,
// setVersion, setLocale, setGroup) walks the list of registered applications. fixUp and the
// questions about running applications may ask other processes, and may block for seconds.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::Specifier : public SoString {
public:
    // Converts to lower case. Null, and a text of 256 bytes or more, give the empty specifier.
    Specifier(const char* text, bool fixUp);

    SoString appName() const;
    SoString instance() const;
    SoString version() const;
    SoString locale() const;
    SoString suffix() const;
    // The group of this application in its newest generation; `version` receives the generation.
    // Empty without a registry.
    SoString group(SoString* version) const;

    // Unchecked. Always true.
    bool setAppName(const SoString& name);
    bool setInstance(const SoString& instance);
    bool setSuffix(const SoString& suffix);
    // Accept only what is registered, see findLocale and findVersion; else false, and no change. A
    // negative version asks for the highest one up to that number.
    bool setLocale(const SoString& wanted);
    bool setVersion(const SoString& wanted);
    // Keeps only the name, appends the group's name, and completes the result.
    bool setGroup(const SoString& name);

    // Completes the text in place: with what the registry prefers for this process (if
    // `usePreferred`), what is running, the locale and the highest version. An unknown name is only
    // converted to lower case.
    void fixUp(bool usePreferred);

    static SoString getApplicationPath(const char* text);
    bool isInstalled() const;
    bool registerApplication(const SoString& path, const SoString* displayName, bool flag) const;
    bool unregisterApplication(const SoString* displayName) const;
    bool addToGroup(const SoString& name, const SoString* groupVersion) const;
    bool removeFromGroup(const SoString& name, const SoString* groupVersion) const;
    // The application that this one should talk to when it asks for `target`.
    SoString preferred(const SoString& target, const SoString& groupName) const;

    // Whether somebody holds the application's ports. Sends it a message that has no effect.
    bool isRunning() const;
    // Whether it answers that it is busy; waits up to one second.
    bool isBusy() const;
    // "IDLE", "PUMPING" or "BUSY", or the word that says why there is no answer; waits up to two
    // seconds.
    SoString status() const;
};

namespace TevoroTalkData {

// The component after the first "-", if it begins with a digit: a version, or that of a group.
SoString getVersionOrGroup(const SoString& specifier);

// Finds the first registered entry of that name and exactly that version, whose locale is `locale`
// (if empty, the current one) or none. Sets `locale` to that of the entry; to empty if none fits.
bool findLocale(const SoString& appName, const SoString& version, SoString& locale);

// Finds a registered entry of that name in that locale (if empty, the current one): of exactly that
// version or, for a negative number, of the highest up to it. Sets `version` and `locale` to those
// of the entry.
bool findVersion(const SoString& appName, SoString& locale, SoString& version);

} // namespace TevoroTalkData
} // namespace ScObjects
