// What stands behind a session of the module: the lists and texts that it has given, and its
// connection for writing. Statuses as VelmoCaps.h has them; throws std::bad_alloc and StoreError,
// which the exported functions turn into statuses. One thread at a time.
#pragma once

#include "velmo_caps/CurrentStores.h"
#include "velmo_caps/StoreWriter.h"
#include "velmo_caps/VelmoCaps.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace velmo_caps {

class CapsSession {
public:
    // Borrows the stores.
    explicit CapsSession(CurrentStores& stores)
        : m_stores(stores)
    {
    }

    capsStatus domainSubdomains(capsDomain domain, const char**& list);
    capsStatus payloads(capsInstallState state, const std::string* collection, const char**& list);
    capsStatus keys(const SubdomainName& subdomain, const char**& list);
    capsStatus value(const SubdomainName& subdomain, const std::string& key, const char*& value);
    capsStatus set(const SubdomainName& subdomain, const std::string& key, const char* value);
    capsStatus remove(const SubdomainName& subdomain, const std::string& key);

private:
    // What one function has given last.
    struct Given {
        std::shared_ptr<const StoreView> view; // keeps the texts
        std::vector<const char*> texts;
    };
    capsStatus give(Given& given, const char**& list);
    bool wasListed(const SubdomainName& subdomain) const;
    StoreWriter& writer();

    CurrentStores& m_stores;
    Given m_subdomains;
    Given m_payloads;
    Given m_collectionPayloads;
    std::array<Given, 2> m_keys; // by face
    std::array<std::shared_ptr<const StoreView>, 2> m_values; // by face
    capsDomain m_listedDomain = 0; // of m_subdomains
    std::unique_ptr<StoreWriter> m_writer;
};

} // namespace velmo_caps
