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
    Specifier(char const* text, bool fixUp);

    SoString appName() const;
    SoString instance() const;
    SoString version() const;
    SoString locale() const;
    SoString suffix() const;
    // The group that holds this application in its newest generation, and in `version` which; empty
    // without a registry.
    SoString group(SoString* version) const;

    // Texts are taken as given. Always true.
    bool setAppName(SoString const& name);
    bool setInstance(SoString const& instance);
    bool setSuffix(SoString const& suffix);
    // Only what is registered, see findLocale and findVersion; false, and nothing changed,
    // otherwise. A negative version asks for the highest one up to that number.
    bool setLocale(SoString const& locale);
    bool setVersion(SoString const& version);
    // Replaces all but the name, which the group's name follows, and completes that.
    bool setGroup(SoString const& name);

    // Completes the text in place: what the registry prefers for this process (with
    // `usePreferred`), what runs, the locale and the highest version. Stays as it is, in lower
    // case, when nothing is known of it.
    void fixUp(bool usePreferred);

    static SoString getApplicationPath(char const* text);
    bool isInstalled() const;
    bool registerApplication(SoString const& path, SoString const* displayName, bool flag) const;
    bool unregisterApplication(SoString const* displayName) const;
    bool addToGroup(SoString const& group, SoString const* version) const;
    bool removeFromGroup(SoString const& group, SoString const* version) const;
    // The application that this one should talk to when it asks for `target`.
    SoString preferred(SoString const& target, SoString const& group) const;

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
SoString getVersionOrGroup(SoString const& specifier);

// The first registered entry of that name and exactly that version whose locale is `locale` (the
// current one when that is empty) or none; `locale` becomes that entry's, or empty.
bool findLocale(SoString const& appName, SoString const& version, SoString& locale);

// A registered entry of that name in that locale (the current one when it is empty): of exactly
// that version or, for a negative number, of the highest up to it. `version` and `locale` become
// that entry's.
bool findVersion(SoString const& appName, SoString& locale, SoString& version);

} // namespace TevoroTalkData
} // namespace ScObjects
