#include "registry/TevoroTalkConnector.h"

#include "messaging/TevoroTalkUtils.h"
#include "registry/QKConnectorAppInfoList.h"
#include "registry/SuiteApplications.h"

#include <atomic>
#include <memory>
#include <string_view>

namespace ScObjects {

namespace {

// Initialised at compile time, so that other static objects may ask at any moment. Atomic, because
// get() is called by every thread and takes no lock.
constinit std::atomic<TevoroTalkConnector*> gConnector{nullptr};
constinit std::atomic<bool> gHasExited{false};

const SoString* orNull(const SoString& text)
{
    return text.isEmpty() ? nullptr : &text;
}

void deleteTexts(SoVector<SoString>& texts)
{
    for (long i = texts.length() - 1; i >= 0; --i)
        delete texts.removeAt(i);
}

// The name of the file, with the "/" before it: people know these names.
SoString nameFromPath(const SoString& path)
{
    const std::string_view text = path.view();
    const std::size_t start = text.rfind('/');
    if (start == std::string_view::npos)
        return {};
    const std::string_view name = text.substr(start);
    return SoString(name.substr(0, name.rfind('.')));
}

// A row of the suite in the current locale, if it has one at all.
TevoroTalk::Specifier inCurrentLocale(const char* row)
{
    TevoroTalk::Specifier specifier(row, false);
    const SoString locale = specifier.locale();
    if (locale.isEmpty() || locale == TevoroTalkUtils::getCurrentLocale())
        return specifier;
    // Not set, which only accepts what is registered.
    SoString text(specifier.appName());
    text << "-" << specifier.version() << "-" << TevoroTalkUtils::getCurrentLocale();
    return {text, false};
}

} // namespace

bool TevoroTalkConnector::InitTerm::init(const SoString& appName)
{
    // A bus that was ended may be started again, and then takes a connector again.
    gHasExited = false;
    if (gConnector == nullptr)
        set(TevoroTalkUtils::createConnector(appName, "default"));
    return true;
}

bool TevoroTalkConnector::InitTerm::exit()
{
    // Taken out before it is deleted, so that no other thread is handed a dying object.
    delete gConnector.exchange(nullptr);
    gHasExited = true;
    return true;
}

TevoroTalkConnector* TevoroTalkConnector::get()
{
    return gConnector;
}

void TevoroTalkConnector::set(TevoroTalkConnector* connector)
{
    // Nobody would delete a connector that was set after the exit. Setting the same one twice must
    // not delete it.
    if (gHasExited || connector == gConnector)
        return;
    delete gConnector.exchange(connector);
}

bool TevoroTalkConnector::parseEntry(
    const SoString& entry, SoString& group, SoString& version, SoString& specifier)
{
    for (SoString* const part : {&group, &version, &specifier})
        part->shrink(0);
    const std::string_view text = entry.view();
    const std::size_t first = text.find('/');
    const std::size_t last = text.rfind('/');
    if (first == last)
        return false;
    group.assign(text.substr(0, first));
    version.assign(text.substr(first + 1, last - first - 1));
    specifier.assign(text.substr(last + 1));
    return true;
}

SoString TevoroTalkConnector::getAppSubdomainName(const SoString& specifier)
{
    SoString name = kAppSubdomainPrefix;
    name << specifier;
    return name;
}

SoString TevoroTalkConnector::getGroupSubdomainName(const SoString& entry)
{
    // Not by setLocale, which would look an empty locale up.
    const Specifier whole(entry, false);
    SoString name = kGroupSubdomainPrefix;
    name << whole.appName();
    if (const SoString version = whole.version(); !version.isEmpty())
        name << "-" << version;
    if (const SoString suffix = whole.suffix(); !suffix.isEmpty())
        name << "#" << suffix;
    return name;
}

TevoroTalkConnector::TevoroTalkConnector(const SoString& appName)
    : m_appName(appName)
    , m_keys{kAppSubdomainPrefix,
          kGroupSubdomainPrefix,
          kGroupKeyPrefix,
          kGuidKey,
          kLocationKey,
          kWinClassNameKey,
          kDisplayNameKey,
          kBundleIdentifierKey,
          kTevoroTalkVersionKey,
          kAllowMultipleInstancesKey,
          kIsShellToolKey,
          kMessageAuthenticationKey,
          kMessageDigestKey,
          kSupportsQsdtKey,
          kExecutableBasenameKey,
          kExecutableExtensionKey,
          kOMVDictionaryKey,
          kDeveloperInstallPathKey,
          kRedirectToKey,
          kExecutablePathKey}
{
}

TevoroTalkConnector::~TevoroTalkConnector()
{
    TevoroTalkConnector::clearCache();
}

bool TevoroTalkConnector::isGood() const
{
    const ObjectLock lock(*this);
    return getAppInfoList() != nullptr;
}

QKConnectorAppInfoList* TevoroTalkConnector::getAppInfoList() const
{
    const ObjectLock lock(*this);
    if (m_appInfoList == nullptr) {
        clearGroupsCache();
        m_appInfoList = new QKConnectorAppInfoList;
        m_groupsCache = new SoVector<SoString>;
        // Reading the store is part of the first question, whatever that is.
        auto* const self = const_cast<TevoroTalkConnector*>(this);
        m_listsGood = self->initLists(*m_appInfoList, *m_groupsCache);
    }
    return m_listsGood ? m_appInfoList : nullptr;
}

const SoVector<SoString>* TevoroTalkConnector::getGroupsCache()
{
    const ObjectLock lock(*this);
    if (m_groupsCache == nullptr && getAppInfoList() == nullptr)
        return nullptr;
    return m_groupsCache;
}

const SoVector<SoString>* TevoroTalkConnector::getGroupsCache() const
{
    const ObjectLock lock(*this);
    return m_groupsCache;
}

void TevoroTalkConnector::clearGroupsCache() const
{
    const ObjectLock lock(*this);
    if (m_groupsCache != nullptr)
        deleteTexts(*m_groupsCache);
    delete m_groupsCache;
    m_groupsCache = nullptr;
}

void TevoroTalkConnector::clearCache()
{
    const ObjectLock lock(*this);
    clearGroupsCache();
    delete m_appInfoList;
    m_appInfoList = nullptr;
    m_listsGood = false;
}

// Whether nothing stands in the way of the record, or was removed.
bool TevoroTalkConnector::takesPlaceOf(const QKConnectorAppInfo& info)
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    QKConnectorAppInfo former;
    if (list == nullptr)
        return false;
    if (!list->find(info.specifier, former))
        return true;
    return former.path != info.path
        && unregisterApplication(Specifier(info.specifier, false), &former.displayName);
}

bool TevoroTalkConnector::doRegisterApplication(QKConnectorAppInfo& info)
{
    const ObjectLock lock(*this);
    if (info.specifier.isEmpty() || info.path.isEmpty() || !takesPlaceOf(info))
        return false;
    if (info.displayName.isEmpty())
        info.displayName = nameFromPath(info.path);
    if (!registerApplication(info))
        return false;
    QKConnectorAppInfoList* const list = getAppInfoList();
    if (list != nullptr && !list->append(new QKConnectorAppInfo(info)))
        clearCache();
    return true;
}

bool TevoroTalkConnector::registerApplication(
    const Specifier&, const SoString&, const SoString*, bool, bool)
{
    return false;
}

bool TevoroTalkConnector::unregisterApplication(const Specifier&, const SoString*)
{
    return false;
}

bool TevoroTalkConnector::removeGroupEntries()
{
    const ObjectLock lock(*this);
    bool isDone = true;
    for (long i = 0; m_groupsCache != nullptr && i < m_groupsCache->length(); ++i) {
        SoString group;
        SoString version;
        SoString specifier;
        isDone &= parseEntry(*(*m_groupsCache)[i], group, version, specifier)
            && removeFromGroup(Specifier(specifier, false), group, orNull(version));
    }
    return isDone;
}

bool TevoroTalkConnector::removeAll()
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    if (list == nullptr)
        return false;
    bool isDone = true;
    for (long i = list->length() - 1; i >= 0; --i) {
        QKConnectorAppInfo info;
        list->getItemAt(i, info);
        isDone &= unregisterApplication(Specifier(info.specifier, false), &info.displayName);
    }
    isDone &= removeGroupEntries();
    clearCache();
    return isDone;
}

bool TevoroTalkConnector::updateCache(bool force)
{
    {
        const ObjectLock lock(*this);
        removeAll();
        if (getAppInfoList() == nullptr)
            return false;
    }
    return force ? registerRunningApps() : isGood();
}

std::int64_t TevoroTalkConnector::getTimestamp() const
{
    return 0;
}

bool TevoroTalkConnector::skipImport(const QKConnectorAppInfo&) const
{
    return false;
}

bool TevoroTalkConnector::registerRunningApps()
{
    bool isAnyThere = false;
    for (const char* const row : TevoroTalkData::kSuiteSpecifiers) {
        const Specifier specifier = inCurrentLocale(row);
        if (specifier.isInstalled() || !specifier.isRunning())
            continue;
        registerApplication(specifier, "(running)", nullptr, false, true);
        isAnyThere = true;
    }
    return isAnyThere;
}

} // namespace ScObjects
