// A connector's records as documents that installers read, and as a whole: taken over from another
// connector, or compared with it.
#include "registry/QKConnectorAppInfoList.h"
#include "registry/SuiteApplications.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <cstdio>

namespace ScObjects {

namespace {

using Connector = TevoroTalkConnector;
using Specifier = TevoroTalk::Specifier;

constexpr const char* kRootStart = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>\n";
constexpr const char* kRootEnd = "</Configuration>\n";
constexpr const char* kPayloadStart = "\t<Payload>\n";
constexpr const char* kPayloadEnd = "\t</Payload>\n\n";
constexpr const char* kDataEnd = "\t</Other>\n";

// Versions of the protocol before there were several.
constexpr double kFirstTalkVersion = 1.0;

// Nothing is escaped: readers have always taken values as they stand.
SoString makeTag(const SoString& key, const SoString& value)
{
    SoString tag = "\t\t<Data key=\"";
    tag << key << "\">" << value << "</Data>\n";
    return tag;
}

SoString dataStart(const SoString& code)
{
    SoString start = "\t<Other velmoCode=\"";
    start << code << "\">\n";
    return start;
}

void appendUnlessEmpty(SoString& out, const char* key, const SoString& value)
{
    if (!value.isEmpty())
        out << makeTag(key, value);
}

// Switches are written where they differ from what a record has by itself.
void appendSwitch(SoString& out, const char* key, bool value, bool byItself)
{
    if (value != byItself)
        out << makeTag(key, value ? "true" : "false");
}

void appendSwitches(SoString& out, const QKConnectorAppInfo& info)
{
    appendSwitch(out, Connector::kAllowMultipleInstancesKey, info.allowMultipleInstances, false);
    appendSwitch(out, Connector::kIsShellToolKey, info.isShellTool, false);
    appendSwitch(out, Connector::kMessageAuthenticationKey, info.messageAuthentication, true);
    appendSwitch(out, Connector::kMessageDigestKey, info.messageDigest, true);
    appendSwitch(out, Connector::kSupportsQsdtKey, info.supportsQSDT, false);
}

void appendValues(SoString& out, const QKConnectorAppInfo& info)
{
    out << makeTag(Connector::kGuidKey, info.specifier);
    appendUnlessEmpty(out, Connector::kWinClassNameKey, info.windowClassName);
    appendUnlessEmpty(out, Connector::kBundleIdentifierKey, info.bundleIdentifier);
    appendUnlessEmpty(out, Connector::kDisplayNameKey, info.displayName);
    SoString talkVersion;
    talkVersion << info.talkVersion;
    if (info.talkVersion != kFirstTalkVersion)
        out << makeTag(Connector::kTevoroTalkVersionKey, talkVersion);
    appendSwitches(out, info);
    appendUnlessEmpty(out, Connector::kExecutableBasenameKey, info.executableBasename);
    appendUnlessEmpty(out, Connector::kExecutableExtensionKey, info.executableExtension);
    if (info.omvDictionary != "none")
        appendUnlessEmpty(out, Connector::kOMVDictionaryKey, info.omvDictionary);
    appendUnlessEmpty(out, Connector::kDeveloperInstallPathKey, info.developerInstallPath);
    appendUnlessEmpty(out, Connector::kRedirectToKey, info.redirectTo);
}

SoString applicationConfig(const QKConnectorAppInfo& info)
{
    const SoString code = Connector::getAppSubdomainName(info.specifier);
    SoString out = kRootStart;
    out << kPayloadStart << makeTag(Connector::kTevoroTalkCodeKey, code) << kPayloadEnd
        << dataStart(code);
    appendValues(out, info);
    out << kDataEnd << kRootEnd;
    return out;
}

SoString groupTag(long index, const SoString& entry)
{
    char number[24];
    std::snprintf(number, sizeof number, "%03ld", index);
    SoString key = Connector::kGroupKeyPrefix;
    key << number;
    return makeTag(key, Connector::getGroupSubdomainName(entry));
}

void appendSuite(SoString& out)
{
    long index = 0;
    for (const char* const specifier : TevoroTalkData::kSuiteGroupEntries) {
        SoString entry = TevoroTalkData::kSuiteGeneration;
        entry << specifier;
        out << groupTag(index++, entry);
    }
}

bool findGroup(const SoVector<SoString>& groups, const SoString& entry)
{
    for (long i = 0; i < groups.length(); ++i)
        if (*groups[i] == entry)
            return true;
    return false;
}

bool isFoundIn(const SoVector<SoString>& one, const SoVector<SoString>& other)
{
    for (long i = 0; i < one.length(); ++i)
        if (!findGroup(other, *one[i]))
            return false;
    return true;
}

bool isFoundIn(const QKConnectorAppInfoList& one, const QKConnectorAppInfoList& other)
{
    for (long i = 0; i < one.length(); ++i) {
        const QKConnectorAppInfo* const found = other.find(one.get(i)->specifier);
        if (found == nullptr || *found != *one.get(i))
            return false;
    }
    return true;
}

} // namespace

SoString TevoroTalkConnector::getConnectorConfig(const SoString& which) const
{
    const ObjectLock lock(*this);
    if (which.isEmpty())
        return {};
    if (which == "groups")
        return groupsConfig();
    const QKConnectorAppInfoList* const list = getAppInfoList();
    const QKConnectorAppInfo* const info = list != nullptr ? list->find(which) : nullptr;
    return info != nullptr ? applicationConfig(*info) : SoString();
}

SoString TevoroTalkConnector::groupsConfig() const
{
    const ObjectLock lock(*this);
    if (m_groupsCache == nullptr)
        return {};
    SoString out = kRootStart;
    out << dataStart("/velmo/tevorotalk/groups");
    if (m_groupsCache->length() == 0)
        appendSuite(out);
    for (long i = 0; i < m_groupsCache->length(); ++i)
        out << groupTag(i, *(*m_groupsCache)[i]);
    out << kDataEnd << kRootEnd;
    return out;
}

bool TevoroTalkConnector::importFrom(const TevoroTalkConnector& other)
{
    if (getName() == other.getName())
        return false;
    const ObjectLock lock(*this);
    const ObjectLock otherLock(other);
    const QKConnectorAppInfoList* const theirs = other.getAppInfoList();
    if (getAppInfoList() == nullptr || theirs == nullptr)
        return false;
    bool isDone = true;
    for (long i = 0; i < theirs->length(); ++i) {
        QKConnectorAppInfo info;
        theirs->getItemAt(i, info);
        isDone &= skipImport(info) || doRegisterApplication(info);
    }
    const bool hasGroups = importGroups(other);
    return isDone && hasGroups;
}

bool TevoroTalkConnector::importGroups(const TevoroTalkConnector& other)
{
    const ObjectLock otherLock(other);
    const SoVector<SoString>* const theirs = other.getGroupsCache();
    bool isDone = true;
    for (long i = 0; theirs != nullptr && i < theirs->length(); ++i) {
        SoString group;
        SoString version;
        SoString specifier;
        isDone &= parseEntry(*(*theirs)[i], group, version, specifier)
            && addToGroup(
                Specifier(specifier, false), group, version.isEmpty() ? nullptr : &version);
    }
    return isDone;
}

bool TevoroTalkConnector::hasEqualKeys(const TevoroTalkConnector& other) const
{
    // The last key is left out: nothing reads it.
    return m_appName == other.m_appName
        && std::equal(m_keys.begin(), m_keys.end() - 1, other.m_keys.begin());
}

bool TevoroTalkConnector::hasEqualLengths(const TevoroTalkConnector& other) const
{
    const ObjectLock lock(*this);
    const ObjectLock otherLock(other);
    const auto lengthOf = [](const auto* list) { return list != nullptr ? list->length() : -1; };
    return lengthOf(m_groupsCache) == lengthOf(other.m_groupsCache)
        && lengthOf(m_appInfoList) == lengthOf(other.m_appInfoList);
}

bool TevoroTalkConnector::isEqual(const TevoroTalkConnector& other) const
{
    const ObjectLock lock(*this);
    const ObjectLock otherLock(other);
    // Lists as they stand: neither is read for this. Good ones are there.
    return other.m_listsGood && hasEqualKeys(other) && hasEqualLengths(other)
        && isFoundIn(*m_groupsCache, *other.m_groupsCache)
        && isFoundIn(*m_appInfoList, *other.m_appInfoList);
}

// Whatever either lacks makes the two differ, and there is nobody to be told what it is.
bool TevoroTalkConnector::validate(const TevoroTalkConnector& other) const
{
    return isEqual(other);
}

} // namespace ScObjects
