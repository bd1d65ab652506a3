// The connector to the configuration store: reads which applications are installed, and follows
// changes of the store. Never writes to it: what is registered lasts as long as the caches.
//
// Any thread may call, under the connector's lock.
#pragma once

#include "registry/PCDWrapper.h"
#include "registry/TevoroTalkConnector.h"

namespace ScObjects {

class PCDConnector final : public TevoroTalkConnector {
public:
    // What it reads in the store. The numbers are those of the store's domains.
    enum DomainKey : std::int32_t { kInstaller = 0, kLodo = 1, kQlm = 2, kQum = 3, kQmt = 4 };
    static capsDomain getPCDDomain(DomainKey key);

    // Opens the master store, or nothing at all.
    PCDConnector(const SoString& appName, bool master, DomainKey key);

    SoString getName() const override;
    bool initLists(QKConnectorAppInfoList& applications, SoVector<SoString>& groups) override;
    // When the store was last written; 0 if that cannot be read.
    std::int64_t getTimestamp() const override;
    // What is known already.
    bool skipImport(const QKConnectorAppInfo& info) const override;
    using TevoroTalkConnector::registerApplication;
    using TevoroTalkConnector::unregisterApplication;
    // Accepted, and kept in the caches only.
    bool registerApplication(QKConnectorAppInfo& info) override;
    bool unregisterApplication(const QKConnectorAppInfo& info) override;
    // Refused.
    bool addToGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) override;
    bool removeFromGroup(
        const Specifier& specifier, const SoString& group, const SoString* version) override;
    // Drops the caches if the store has changed since they were read, and says so; with `force` in
    // any case, and then builds them at once. Without a change it costs two questions for times.
    bool updateCache(bool force) override;
    // By an index: a store may hold thousands.
    int findName(const SoString& appName, int from) const override;

private:
    bool hasChanged();

    PCDWrapper m_wrapper TEVOROTALK_GUARDED_BY(this);
    // Of the store, as the caches have it.
    std::uint32_t m_capsLastModTime TEVOROTALK_GUARDED_BY(this) = 0;
    std::uint32_t m_pcdLastModTime TEVOROTALK_GUARDED_BY(this) = 0;
    const DomainKey m_domainKey;
    const bool m_master;
};

} // namespace ScObjects
