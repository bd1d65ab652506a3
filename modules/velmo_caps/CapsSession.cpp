#include "velmo_caps/CapsSession.h"

#include "platform/common/services/SystemLog.h"

#include <algorithm>
#include <cstring>

namespace velmo_caps {

namespace {

constexpr int kWarning = 4;

std::size_t placeOf(Face face)
{
    return static_cast<std::size_t>(face);
}

// A payload has a row for each domain that it has data in.
bool isNew(const std::vector<const char*>& texts, const std::string& name)
{
    return std::none_of(texts.begin(), texts.end(), [&](const char* each) { return name == each; });
}

} // namespace

capsStatus CapsSession::give(Given& given, const char**& list)
{
    const bool isEmpty = given.texts.empty();
    given.texts.push_back(nullptr);
    list = given.texts.data();
    return isEmpty ? kCapsNoData : kCapsSuccess;
}

capsStatus CapsSession::domainSubdomains(capsDomain domain, const char**& list)
{
    m_subdomains = {m_stores.view(), {}};
    m_listedDomain = domain;
    for (const ViewSubdomain& each : m_subdomains.view->subdomains())
        if (each.name.face == Face::kPcd && each.name.domain == domain)
            m_subdomains.texts.push_back(each.name.name.c_str());
    return give(m_subdomains, list);
}

capsStatus CapsSession::payloads(
    capsInstallState state, const std::string* collection, const char**& list)
{
    Given& given = collection == nullptr ? m_payloads : m_collectionPayloads;
    given = {m_stores.view(), {}};
    for (const ViewSubdomain& each : given.view->subdomains())
        if (state == kCapsInstalled && each.name.face == Face::kCaps
            && (collection == nullptr || each.collection == *collection)
            && isNew(given.texts, each.name.name))
            given.texts.push_back(each.name.name.c_str());
    return give(given, list);
}

capsStatus CapsSession::keys(const SubdomainName& subdomain, const char**& list)
{
    Given& given = m_keys[placeOf(subdomain.face)];
    given = {m_stores.recentView(), {}};
    const ViewSubdomain* const found = given.view->find(subdomain);
    if (found != nullptr)
        for (const ViewEntry& entry : found->entries)
            given.texts.push_back(entry.key.c_str());
    const capsStatus status = give(given, list);
    return status == kCapsNoData && wasListed(subdomain) ? kCapsSuccess : status;
}

// A walk that has begun does not fail because another process removes what lies ahead of it.
bool CapsSession::wasListed(const SubdomainName& subdomain) const
{
    return subdomain.face == Face::kPcd && subdomain.domain == m_listedDomain && m_subdomains.view
        && m_subdomains.view->find(subdomain) != nullptr;
}

capsStatus CapsSession::value(
    const SubdomainName& subdomain, const std::string& key, const char*& value)
{
    auto& view = m_values[placeOf(subdomain.face)];
    view = m_stores.recentView();
    const ViewSubdomain* const found = view->find(subdomain);
    const std::string* const text = found == nullptr ? nullptr : found->find(key);
    if (text == nullptr)
        return kCapsNoData;
    value = text->c_str();
    return kCapsSuccess;
}

StoreWriter& CapsSession::writer()
{
    const StorePlace place = userStore();
    if (!m_writer || !(m_writer->place() == place) || !m_writer->isAtItsPlace()) {
        m_writer.reset();
        m_writer = std::make_unique<StoreWriter>(
            place, [](const std::string& line) { Pt::writeSystemLog(kWarning, line.c_str()); });
    }
    return *m_writer;
}

capsStatus CapsSession::set(
    const SubdomainName& subdomain, const std::string& key, const char* value)
{
    StoreWriter::Change change(writer());
    change.set(subdomain, key, value);
    change.commit();
    m_stores.expire();
    return kCapsSuccess;
}

capsStatus CapsSession::remove(const SubdomainName& subdomain, const std::string& key)
{
    const auto view = m_stores.view();
    const ViewSubdomain* const found = view->find(subdomain);
    if (found == nullptr || found->find(key) == nullptr)
        return kCapsNoData;
    StoreWriter::Change change(writer());
    if (m_stores.isOfMachine(subdomain, key))
        change.hide(subdomain, key);
    else
        change.remove(subdomain, key);
    change.commit();
    m_stores.expire();
    m_subdomains.view.reset(); // this session knows what it has removed
    return kCapsSuccess;
}

} // namespace velmo_caps
