#include "registry/PCDConnector.h"

#include "registry/PCDInitLists.h"
#include "registry/QKConnectorAppInfoList.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace ScObjects {

namespace {

constexpr const char* kStoreConnector = "PCD";
// By domain.
constexpr const char* kDomainNames[] = {"-installer", "-lodo", "-qlm", "-qum", "-qmt"};

bool isKnown(PCDConnector::DomainKey key)
{
    return key >= 0 && static_cast<std::size_t>(key) < std::size(kDomainNames);
}

} // namespace

capsDomain PCDConnector::getPCDDomain(DomainKey key)
{
    return isKnown(key) ? static_cast<capsDomain>(key) : 1;
}

PCDConnector::PCDConnector(const SoString& appName, bool master, DomainKey key)
    : TevoroTalkConnector(appName)
    , m_wrapper(master, getPCDDomain(key))
    , m_domainKey(key)
    , m_master(master)
{
}

SoString PCDConnector::getName() const
{
    SoString name = kStoreConnector;
    if (m_master && m_domainKey == kLodo)
        return name;
    name << (m_master ? "-master" : "-cache");
    if (isKnown(m_domainKey))
        name << kDomainNames[m_domainKey];
    return name;
}

bool PCDConnector::initLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups)
{
    const ObjectLock lock(*this);
    applications.clear();
    PCDInitLists reading(applications, groups);
    const bool isRead = reading.run(m_wrapper);
    m_capsLastModTime = reading.capsLastModTime();
    m_pcdLastModTime = reading.pcdLastModTime();
    return isRead;
}

std::int64_t PCDConnector::getTimestamp() const
{
    const ObjectLock lock(*this);
    std::uint32_t caps = 0;
    std::uint32_t pcd = 0;
    if (m_wrapper.capsGetLastModTime(&caps) != kCapsSuccess)
        caps = 0;
    if (m_wrapper.pcdGetLastModTime(&pcd) != kCapsSuccess)
        pcd = 0;
    return std::max(caps, pcd);
}

bool PCDConnector::skipImport(const QKConnectorAppInfo& info) const
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    return list == nullptr || list->find(info.specifier) != nullptr;
}

bool PCDConnector::registerApplication(QKConnectorAppInfo&)
{
    return true;
}

bool PCDConnector::unregisterApplication(const QKConnectorAppInfo&)
{
    return true;
}

bool PCDConnector::addToGroup(const Specifier&, const SoString&, const SoString*)
{
    return false;
}

bool PCDConnector::removeFromGroup(const Specifier&, const SoString&, const SoString*)
{
    return false;
}

bool PCDConnector::hasChanged()
{
    const ObjectLock lock(*this);
    std::uint32_t caps = 0;
    std::uint32_t pcd = 0;
    const bool isCapsNew =
        m_wrapper.capsGetLastModTime(&caps) == kCapsSuccess && caps != m_capsLastModTime;
    const bool isPcdNew =
        m_wrapper.pcdGetLastModTime(&pcd) == kCapsSuccess && pcd != m_pcdLastModTime;
    if (isCapsNew)
        m_capsLastModTime = caps;
    if (isPcdNew)
        m_pcdLastModTime = pcd;
    return isCapsNew || isPcdNew;
}

bool PCDConnector::updateCache(bool force)
{
    {
        const ObjectLock lock(*this);
        // Never read, so there is nothing to compare with.
        if (m_capsLastModTime == 0)
            return false;
        if (!hasChanged() && !force)
            return false;
        clearCache();
    }
    return !force || TevoroTalkConnector::updateCache(true);
}

TevoroTalkConnector* TevoroTalkUtils::createConnector(const SoString& appName, const SoString& kind)
{
    if (!kind.isEmpty() && kind != "default" && kind != kStoreConnector)
        return nullptr;
    auto connector = std::make_unique<PCDConnector>(appName, true, PCDConnector::kLodo);
    return connector->isGood() ? connector.release() : nullptr;
}

int PCDConnector::findName(const SoString& appName, int from) const
{
    const ObjectLock lock(*this);
    const QKConnectorAppInfoList* const list = getAppInfoList();
    return list != nullptr ? static_cast<int>(list->findName(appName, from)) : -1;
}

} // namespace ScObjects
