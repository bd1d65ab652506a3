// How a short address becomes a whole one: the walks over the registered applications.
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/VersionNumber.h"
#include "registry/TevoroTalkConnector.h"

#include <cmath>

namespace ScObjects {

namespace {

using Specifier = TevoroTalk::Specifier;
using TevoroTalkData::versionNumber;
using TevoroTalkUtils::getCurrentLocale;

// Entries from here on are chosen only by their own number.
constexpr double kBeyondVersions = 99.0;

bool isEmptyOr(const SoString& locale, const SoString& wanted)
{
    return locale.isEmpty() || locale == wanted;
}

SoString currentUnlessGiven(const SoString& locale)
{
    return locale.isEmpty() ? getCurrentLocale() : locale;
}

Specifier registeredEntry(int index, bool fixUp)
{
    return {TevoroTalk::getApplicationSpecifier(index).get(), fixUp};
}

// The next registered application of that name, from that place of the list on; -1 for none. The
// list may change between two calls, as between any two of a walk.
int nextOfName(const SoString& appName, int from)
{
    const TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    return connector != nullptr ? connector->findName(appName, from) : -1;
}

// Whether this thread is finding out a preference. What is completed on the way asks for none: the
// asker and the entries of groups may lead to each other, without end.
constinit thread_local bool gIsPreferring = false;

class Preferring {
public:
    Preferring() { gIsPreferring = true; }
    ~Preferring() { gIsPreferring = false; }
    Preferring(const Preferring&) = delete;
    Preferring& operator=(const Preferring&) = delete;
};

// What the registry prefers for this process; the text itself when it has no preference.
SoString getPreferredApp(const SoString& specifier, const SoString& appName)
{
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    const TevoroTalkContext* const context = TevoroTalk::getSharedContext();
    if (connector == nullptr || context == nullptr || gIsPreferring)
        return specifier;
    const Preferring preferring;
    // Not completed, or completing would ask for the preference of the one who asks, without end.
    const Specifier asker(context->getAppSpecifier(), false);
    if (asker.isEmpty())
        return specifier;
    SoString group = TevoroTalkData::getVersionOrGroup(specifier);
    if (group.isEmpty())
        group = connector->findGroupForSpecifier(asker, nullptr);
    if (group.isEmpty())
        return specifier;
    const SoString found = connector->findPreferredApp(asker, appName, group);
    return found.isEmpty() ? specifier : found;
}

// One completion: the parts of the text as it came, and the walks.
class Completion {
public:
    explicit Completion(Specifier& specifier)
        : m_specifier(specifier)
        , m_name(specifier.appName())
        , m_version(specifier.version())
        , m_locale(specifier.locale())
        , m_suffix(specifier.suffix())
        , m_instance(specifier.instance())
    {
    }

    void run(bool usePreferred)
    {
        if (!m_name.isEmpty() && m_version.isEmpty()) {
            // What the registry says comes before what happens to run, and both before what is
            // merely installed.
            if (usePreferred && takePreferred())
                return;
            if (takeRunning())
                return;
        }
        if (m_locale.isEmpty()) {
            if (m_version.isEmpty())
                searchHighest();
            else
                searchVersion();
        }
        takeCandidate();
    }

private:
    bool takePreferred()
    {
        const SoString preferred = getPreferredApp(m_specifier, m_name);
        if (preferred.isEmpty() || preferred == m_specifier)
            return false;
        m_specifier.assign(preferred.view());
        if (!m_suffix.isEmpty())
            m_specifier.setSuffix(m_suffix);
        restoreInstance();
        return true;
    }

    bool takeRunning()
    {
        for (int i = nextOfName(m_name, 0); i >= 0; i = nextOfName(m_name, i + 1)) {
            Specifier entry = registeredEntry(i, false);
            if (!m_instance.isEmpty())
                entry.setInstance(m_instance);
            if (!m_suffix.isEmpty())
                entry.setSuffix(m_suffix);
            // Costs a message to each candidate, which is why completion may take seconds.
            if (!entry.isRunning())
                continue;
            m_specifier.assign(entry.view());
            restoreInstance();
            return true;
        }
        return false;
    }

    // Of equal versions the later entry. An older one in the current locale beats a newer one in
    // another: the locale counts for more.
    void searchHighest()
    {
        const SoString current = getCurrentLocale();
        double best = 0.0;
        for (int i = nextOfName(m_name, 0); i >= 0; i = nextOfName(m_name, i + 1)) {
            const Specifier entry = registeredEntry(i, false);
            const double version = versionNumber(entry.version());
            if (version < best || version >= kBeyondVersions)
                continue;
            best = version;
            (entry.locale() == current ? m_localeMatch : m_secondChoice) = entry;
        }
    }

    void searchVersion()
    {
        const SoString current = getCurrentLocale();
        const double wanted = versionNumber(m_version);
        for (int i = nextOfName(m_name, 0); i >= 0; i = nextOfName(m_name, i + 1)) {
            const Specifier entry = registeredEntry(i, false);
            if (versionNumber(entry.version()) != wanted)
                continue;
            if (isEmptyOr(entry.locale(), current)) {
                m_localeMatch = entry;
                return;
            }
            m_secondChoice = entry;
        }
    }

    void takeCandidate()
    {
        const SoString& candidate = m_localeMatch.isEmpty() ? m_secondChoice : m_localeMatch;
        if (candidate.isEmpty())
            return;
        m_specifier.assign(candidate.view());
        if (!m_instance.isEmpty() && m_specifier.instance() != m_instance)
            m_specifier.setInstance(m_instance);
        if (!m_suffix.isEmpty())
            m_specifier << "#" << m_suffix;
    }

    void restoreInstance()
    {
        if (!m_instance.isEmpty())
            m_specifier.setInstance(m_instance);
    }

    Specifier& m_specifier;
    SoString m_name;
    SoString m_version;
    SoString m_locale;
    SoString m_suffix;
    SoString m_instance;
    SoString m_localeMatch;
    SoString m_secondChoice;
};

} // namespace

bool TevoroTalkData::findLocale(const SoString& appName, const SoString& version, SoString& locale)
{
    const SoString target = currentUnlessGiven(locale);
    for (int i = 0; i < TevoroTalk::getNumberOfRegisteredApplications(); ++i) {
        const Specifier entry = registeredEntry(i, true);
        if (entry.appName() == appName && entry.version() == version
            && isEmptyOr(entry.locale(), target)) {
            locale = entry.locale();
            return true;
        }
    }
    locale.shrink(0);
    return false;
}

bool TevoroTalkData::findVersion(const SoString& appName, SoString& locale, SoString& version)
{
    const double wanted = versionNumber(version);
    const double limit = std::abs(wanted);
    const SoString target = currentUnlessGiven(locale);
    double best = 0.0;
    SoString bestVersion;
    for (int i = 0; i < TevoroTalk::getNumberOfRegisteredApplications(); ++i) {
        const Specifier entry = registeredEntry(i, true);
        if (entry.appName() != appName || !isEmptyOr(entry.locale(), target))
            continue;
        const SoString entryVersion = entry.version();
        const double number = versionNumber(entryVersion);
        // A positive number asks for exactly that version; a negative one never equals any.
        if (number == wanted) {
            version = entryVersion;
            locale = entry.locale();
            return true;
        }
        if (wanted < 0.0 && number > best && number <= limit) {
            best = number;
            bestVersion = entryVersion;
            locale = entry.locale();
        }
    }
    version = bestVersion;
    return !version.isEmpty();
}

void TevoroTalk::Specifier::fixUp(bool usePreferred)
{
    SoString::operator=(lowercase());
    // Without a connector nothing is registered or preferred.
    if (!isEmpty() && TevoroTalkConnector::get() != nullptr)
        Completion(*this).run(usePreferred);
}

} // namespace ScObjects
