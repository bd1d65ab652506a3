// The address of an application on the bus: NAME_INSTANCE-VERSION-LOCALE#SUFFIX, of which all but
// the name may be missing. A component behind a "-" that begins with a digit is the version, any
// other the locale. A value with no lock of its own.
//
// The text is all there is: readers look at it at each call, setters write it anew. Completion
// (fixUp, setVersion, setLocale, setGroup) walks the list of registered applications, and fixUp and
// the questions about a running application may ask other processes and wait for seconds.
#pragma once

#include "messaging/TevoroTalk.h"

namespace ScObjects {

class TEVOROTALK_API TevoroTalk::Specifier : public SoString {
public:
    // In lower case; a null text, or one of 256 bytes or more, gives the empty specifier.
    Specifier(const char* text, bool fixUp);

    SoString appName() const;
    SoString instance() const;
    SoString version() const;
    SoString locale() const;
    SoString suffix() const;
    // The group that holds this application in its newest generation, and in `version` which; empty
    // without a registry.
    SoString group(SoString* version) const;

    // Texts are taken as given. Always true.
    bool setAppName(const SoString& name);
    bool setInstance(const SoString& instance);
    bool setSuffix(const SoString& suffix);
    // Only what is registered, see findLocale and findVersion; false, and nothing changed,
    // otherwise. A negative version asks for the highest one up to that number.
    bool setLocale(const SoString& locale);
    bool setVersion(const SoString& version);
    // Replaces all but the name, which the group's name follows, and completes that.
    bool setGroup(const SoString& name);

    // Completes the text in place: what the registry prefers for this process (with
    // `usePreferred`), what runs, the locale and the highest version. Stays as it is, in lower
    // case, when nothing is known of it.
    void fixUp(bool usePreferred);

    static SoString getApplicationPath(const char* text);
    bool isInstalled() const;
    bool registerApplication(const SoString& path, const SoString* displayName, bool flag) const;
    bool unregisterApplication(const SoString* displayName) const;
    bool addToGroup(const SoString& group, const SoString* version) const;
    bool removeFromGroup(const SoString& group, const SoString* version) const;
    // The application that this one should talk to when it asks for `target`.
    SoString preferred(const SoString& target, const SoString& group) const;

    // Whether the application has an owner of its ports. Leaves a message there that nobody acts
    // on.
    bool isRunning() const;
    // Whether it says so within a second.
    bool isBusy() const;
    // "IDLE", "PUMPING" or "BUSY" within two seconds, or the word that says why not.
    SoString status() const;
};

namespace TevoroTalkData {

// The component behind the first "-", if it begins with a digit; a version, or the version of a
// group.
SoString getVersionOrGroup(const SoString& specifier);

// The first registered entry of that name and exactly that version whose locale is `locale` (the
// current one when that is empty) or none; `locale` becomes that entry's, or empty.
bool findLocale(const SoString& appName, const SoString& version, SoString& locale);

// A registered entry of that name in that locale (the current one when it is empty): of exactly
// that version or, for a negative number, of the highest up to it. `version` and `locale` become
// that entry's.
bool findVersion(const SoString& appName, SoString& locale, SoString& version);

} // namespace TevoroTalkData
} // namespace ScObjects
