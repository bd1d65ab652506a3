// Which application another one means by a bare name: the walks over the entries of groups. They go
// from the last entry to the first, so that later entries win over earlier ones.
//
// A walk holds the connector's lock. What was chosen is completed after it, without the lock,
// because that may ask other processes.
#include "messaging/wire/VersionNumber.h"
#include "registry/TevoroTalkConnector.h"

namespace ScObjects {

using TevoroTalkData::versionNumber;

namespace {

using Specifier = TevoroTalk::Specifier;

// What was chosen, as it is installed. A version such as "5.*" asks for the highest one below 6.
SoString resolveSpecifier(const SoString& target, const SoString& candidate)
{
    Specifier specifier(candidate.isEmpty() ? target : candidate, false);
    specifier.fixUp(false);
    if (specifier.isInstalled())
        return specifier;
    SoString version = specifier.version();
    if (version.length() <= 2 || !version.view().ends_with(".*"))
        return {};
    version.shrink(version.length() - 2);
    SoString upTo = "-";
    upTo << version << ".99";
    // Whether or not there is one: the caller learns the name that was meant.
    specifier.setVersion(upTo);
    return specifier;
}

SoString keyOf(const Specifier& specifier)
{
    SoString key = specifier.appName();
    const SoString version = specifier.version();
    key << "-" << (version.isEmpty() ? "1.0" : version.get());
    return key;
}

struct Entry {
    explicit Entry(const SoString& text)
        : isWhole(TevoroTalkConnector::parseEntry(text, group, version, specifier))
    {
    }

    SoString group;
    SoString version;
    SoString specifier;
    bool isWhole;
};

} // namespace

// One walk through the entries, which ends as soon as something is found.
class TevoroTalkConnector::PreferredAppSearch {
public:
    PreferredAppSearch(const Specifier& from, const Specifier& target, const SoString& group)
        : m_fromApp(from.appName())
        , m_fromVersion(versionNumber(from.version()))
        , m_targetApp(target.appName())
        , m_group(group)
    {
    }

    // False when the walk is over.
    bool look(const Entry& entry)
    {
        // A generation is of that group, or there was none yet. So an entry without a group ends
        // the walk only as long as nothing of the group was seen.
        if (entry.group != m_group && entry.group == m_currentGroup)
            return false;
        if (!entry.isWhole || entry.group != m_group)
            return true;
        if (entry.version != m_currentVersion)
            beginGeneration(entry);
        const Specifier specifier(entry.specifier, false);
        return !takeAsker(specifier) && !takeTarget(specifier);
    }

    // What was found; else the newest entry of the target, or nothing.
    const SoString& result() const { return m_found.isEmpty() ? m_fallback : m_found; }

private:
    void beginGeneration(const Entry& entry)
    {
        m_currentGroup = entry.group;
        m_currentVersion = entry.version;
        m_targetInGeneration.shrink(0);
        m_fromInGeneration.shrink(0);
    }

    bool takeAsker(const Specifier& specifier)
    {
        if (specifier.appName() != m_fromApp || !isReached(specifier))
            return false;
        if (m_targetInGeneration.isEmpty())
            m_fromInGeneration = specifier;
        m_found = m_targetInGeneration;
        return !m_found.isEmpty();
    }

    // Without a version of its own, the asker counts as any version.
    bool isReached(const Specifier& specifier) const
    {
        return m_fromVersion == 0.0 || m_fromVersion >= versionNumber(specifier.version());
    }

    bool takeTarget(const Specifier& specifier)
    {
        if (specifier.appName() != m_targetApp)
            return false;
        if (!m_fromInGeneration.isEmpty())
            m_found = specifier;
        if (m_targetInGeneration.isEmpty())
            m_targetInGeneration = specifier;
        if (m_fallback.isEmpty())
            m_fallback = specifier;
        return !m_found.isEmpty();
    }

    const SoString m_fromApp;
    const double m_fromVersion;
    const SoString m_targetApp;
    const SoString m_group;
    SoString m_currentGroup;
    SoString m_currentVersion;
    SoString m_targetInGeneration;
    SoString m_fromInGeneration;
    SoString m_fallback;
    SoString m_found;
};

SoString TevoroTalkConnector::candidateFor(
    const Specifier& from, const Specifier& target, const SoString& group)
{
    const ObjectLock lock(*this);
    const SoVector<SoString>* const entries = getGroupsCache();
    if (entries == nullptr)
        return {};
    PreferredAppSearch search(from, target, group);
    long i = entries->length() - 1;
    while (i >= 0 && search.look(Entry(*(*entries)[i])))
        --i;
    return search.result();
}

SoString TevoroTalkConnector::findPreferredApp(
    const SoString& from, const SoString& target, const SoString& group)
{
    const Specifier asker(from, false);
    const Specifier asked(target, false);
    SoString candidate;
    if (!asker.isEmpty() && !asked.isEmpty())
        candidate = candidateFor(asker, asked, group);
    return resolveSpecifier(target, candidate);
}

bool TevoroTalkConnector::hasGroups()
{
    const ObjectLock lock(*this);
    const SoVector<SoString>* const entries = getGroupsCache();
    return entries != nullptr && entries->length() > 0;
}

SoString TevoroTalkConnector::findGroupForSpecifier(const Specifier& specifier, SoString* version)
{
    // Callers read the version whatever the answer is.
    if (version != nullptr)
        version->shrink(0);
    if (!hasGroups())
        return {};
    const Specifier whole(specifier, true);
    if (whole.isEmpty())
        return {};
    const SoString key = keyOf(whole);
    SoString group;
    double best = 0.0;
    const ObjectLock lock(*this);
    // Asked anew: completion took its time.
    const SoVector<SoString>* const entries = getGroupsCache();
    for (long i = entries != nullptr ? entries->length() - 1 : -1; i >= 0; --i) {
        const Entry entry(*(*entries)[i]);
        const double generation = versionNumber(entry.version);
        const bool isHigher = generation > best; // not where it is "nan"
        if (!entry.isWhole || entry.specifier != key || !isHigher)
            continue;
        best = generation;
        group = entry.group;
        if (version != nullptr)
            *version = entry.version;
    }
    return group;
}

SoString TevoroTalkConnector::entryInGeneration(
    const SoString& target, const SoString& group, const SoString& version)
{
    const ObjectLock lock(*this);
    const SoVector<SoString>* const entries = getGroupsCache();
    for (long i = entries != nullptr ? entries->length() - 1 : -1; i >= 0; --i) {
        Entry entry(*(*entries)[i]);
        if (entry.isWhole && entry.group == group && entry.version == version
            && Specifier(entry.specifier, false).appName() == target)
            return entry.specifier;
    }
    return {};
}

SoString TevoroTalkConnector::findSpecifierInGroup(
    const SoString& target, const SoString& group, const SoString& version)
{
    SoString candidate = entryInGeneration(target, group, version);
    if (!candidate.isEmpty() && !Specifier(candidate, true).isInstalled())
        candidate.shrink(0);
    return resolveSpecifier(target, candidate);
}

} // namespace ScObjects
