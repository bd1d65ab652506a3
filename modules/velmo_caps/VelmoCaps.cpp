#include "velmo_caps/VelmoCaps.h"

#include "velmo_caps/CapsSession.h"

#include <new>

namespace velmo_caps {

namespace {

constexpr capsDomain kHighestDomain = 4;

// All sessions read through it, and the time functions, which have none. It ends with the library.
CurrentStores& stores()
{
    static CurrentStores current;
    return current;
}

capsStatus statusOf(StoreProblem problem)
{
    switch (problem) {
    case StoreProblem::kLocked:
        return kCapsLocked;
    case StoreProblem::kNewerSchema:
        return kCapsNewerSchema;
    default:
        return kCapsUnusable;
    }
}

// Nothing leaves the library as an exception.
template <typename Work>
capsStatus guarded(Work work) noexcept
{
    try {
        return work();
    } catch (const StoreError& error) {
        return statusOf(error.problem());
    } catch (const SqliteError& error) {
        return statusOf(error.problem());
    } catch (...) {
        return kCapsUnusable;
    }
}

CapsSession& sessionIn(capsiSession session)
{
    return *static_cast<CapsSession*>(session);
}

bool isName(const char* text)
{
    return text != nullptr && *text != '\0';
}

bool isDomain(capsDomain domain)
{
    return domain >= 0 && domain <= kHighestDomain;
}

capsStatus open(capsiSession* session)
{
    if (session == nullptr)
        return kCapsBadArgument;
    *session = nullptr;
    return guarded([&] {
        *session = new CapsSession(stores());
        return kCapsSuccess;
    });
}

capsStatus close(capsiSession session)
{
    if (session == nullptr)
        return kCapsBadArgument;
    delete &sessionIn(session);
    return kCapsSuccess;
}

capsStatus keys(capsiSession session, const SubdomainName& subdomain, const char*** list)
{
    return guarded([&] { return sessionIn(session).keys(subdomain, *list); });
}

capsStatus value(
    capsiSession session, const SubdomainName& subdomain, const char* key, const char** out)
{
    return guarded([&] { return sessionIn(session).value(subdomain, key, *out); });
}

capsStatus time(std::uint32_t* out)
{
    if (out == nullptr)
        return kCapsBadArgument;
    *out = 1;
    return guarded([&] {
        *out = stores().time();
        return kCapsSuccess;
    });
}

} // namespace

} // namespace velmo_caps

using namespace velmo_caps;

capsStatus pcdOpenSessionNoCreate(capsiSession* session)
{
    return velmo_caps::open(session);
}

capsStatus capsOpenSession(capsiSession* session)
{
    return velmo_caps::open(session);
}

capsStatus pcdCloseSession(capsiSession session)
{
    return velmo_caps::close(session);
}

capsStatus capsCloseSession(capsiSession session)
{
    return velmo_caps::close(session);
}

capsStatus pcdGetDomainDataSubdomains(capsiSession session, capsDomain domain, const char*** list)
{
    if (session == nullptr || list == nullptr)
        return kCapsBadArgument;
    *list = nullptr;
    return guarded([&] { return sessionIn(session).domainSubdomains(domain, *list); });
}

capsStatus pcdGetDomainDataKeys(
    capsiSession session, capsDomain domain, const char* subdomain, const char*** list)
{
    if (session == nullptr || subdomain == nullptr || list == nullptr)
        return kCapsBadArgument;
    *list = nullptr;
    return guarded([&] { return keys(session, {Face::kPcd, domain, subdomain}, list); });
}

capsStatus pcdGetDomainData(capsiSession session,
    capsDomain domain,
    const char* subdomain,
    const char* key,
    const char** value)
{
    if (session == nullptr || subdomain == nullptr || key == nullptr || value == nullptr)
        return kCapsBadArgument;
    *value = nullptr;
    return guarded([&] {
        return velmo_caps::value(session, {Face::kPcd, domain, subdomain}, key, value);
    });
}

capsStatus pcdSetDomainData(capsiSession session,
    capsDomain domain,
    const char* subdomain,
    const char* key,
    const char* value)
{
    if (session == nullptr || !isDomain(domain) || !isName(subdomain) || !isName(key)
        || value == nullptr)
        return kCapsBadArgument;
    return guarded([&] {
        return sessionIn(session).set({Face::kPcd, domain, subdomain}, key, value);
    });
}

capsStatus pcdRemoveDomainData(
    capsiSession session, capsDomain domain, const char* subdomain, const char* key)
{
    if (session == nullptr || subdomain == nullptr || key == nullptr)
        return kCapsBadArgument;
    return guarded([&] { return sessionIn(session).remove({Face::kPcd, domain, subdomain}, key); });
}

capsStatus capsGetCollectionPayloads(
    capsiSession session, capsInstallState state, const char* collection, const char*** list)
{
    if (session == nullptr || collection == nullptr || list == nullptr)
        return kCapsBadArgument;
    *list = nullptr;
    return guarded([&] {
        const std::string name = collection;
        return sessionIn(session).payloads(state, &name, *list);
    });
}

capsStatus capsGetPayloadDataKeys(
    capsiSession session, const char* payload, capsDomain domain, const char*** list)
{
    if (session == nullptr || payload == nullptr || list == nullptr)
        return kCapsBadArgument;
    *list = nullptr;
    return guarded([&] { return keys(session, {Face::kCaps, domain, payload}, list); });
}

capsStatus capsGetPayloadData(capsiSession session,
    const char* payload,
    capsDomain domain,
    const char* key,
    const char** value)
{
    if (session == nullptr || payload == nullptr || key == nullptr || value == nullptr)
        return kCapsBadArgument;
    *value = nullptr;
    return guarded([&] {
        return velmo_caps::value(session, {Face::kCaps, domain, payload}, key, value);
    });
}

capsStatus capsGetPayloads(capsiSession session, capsInstallState state, const char*** list)
{
    if (session == nullptr || list == nullptr)
        return kCapsBadArgument;
    *list = nullptr;
    return guarded([&] { return sessionIn(session).payloads(state, nullptr, *list); });
}

capsStatus capsGetLastModTime(std::uint32_t* time)
{
    return velmo_caps::time(time);
}

capsStatus pcdGetLastModTime(std::uint32_t* time)
{
    return velmo_caps::time(time);
}
