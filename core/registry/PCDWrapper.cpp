#include "registry/PCDWrapper.h"

#include <vector>

namespace ScObjects {

namespace {

// The collection of payloads that stands in for a domain, and what a payload in it is called.
constexpr const char* kLodoDataCollectionID = "LodoDataCollectionActingAsADomain";
constexpr const char* kLodoDataPayloadProductFamilyValue = "LodoFamily";
constexpr const char* kLodoDataPayloadProductNameValue = "LodoName";
constexpr const char* kLodoDataPayloadProductVersionValue = "1.0";

constexpr capsInstallState kInstalled = 4;
constexpr capsStatus kNotMaster = -16;

// Wrappers that hold the library. One that could not open its store stays counted, so that the
// library stays loaded from then on.
constinit int gLibRefCount = 0;

// The shares in the library of wrappers that have gone, until the last one goes.
std::vector<Pt::ModuleHandle>& sharesLeft()
{
    static std::vector<Pt::ModuleHandle> shares;
    return shares;
}

} // namespace

PCDWrapper::PCDWrapper(bool master, capsDomain domain)
    : m_domain(domain)
    , m_master(master)
{
    m_library = initPCDFunctionPtrs(m_functions);
    if (m_library == nullptr)
        return;
    ++gLibRefCount;
    openSessions();
}

PCDWrapper::~PCDWrapper()
{
    if (m_pcdSession != nullptr)
        pcdCloseSession(m_pcdSession);
    if (m_capsSession != nullptr)
        capsCloseSession(m_capsSession);
    if (m_library != nullptr)
        letGoOfLibrary();
}

void PCDWrapper::openSessions()
{
    if ((m_master ? pcdOpenSessionNoCreate(&m_pcdSession) : kNotMaster) != kCapsSuccess) {
        m_pcdSession = nullptr;
        TevoroTalkUtils::SharedLib::unloadPCDLibrary(m_library);
        m_library = nullptr;
        return;
    }
    // Without payloads, domain data can still be read.
    if (capsOpenSession(&m_capsSession) != kCapsSuccess)
        m_capsSession = nullptr;
}

void PCDWrapper::letGoOfLibrary()
{
    sharesLeft().push_back(m_library);
    if (--gLibRefCount != 0)
        return;
    for (const Pt::ModuleHandle library : sharesLeft())
        TevoroTalkUtils::SharedLib::unloadPCDLibrary(library);
    sharesLeft().clear();
}

template <typename... Parameters, typename... Arguments>
capsStatus PCDWrapper::askPayloads(
    capsStatus (*function)(Parameters...), const Arguments&... arguments) const
{
    if (!isGood())
        return kCapsMissing;
    if (m_capsSession == nullptr)
        return kCapsNoSession;
    return function != nullptr ? function(m_capsSession, arguments...) : kCapsMissing;
}

template <typename... Parameters, typename... Arguments>
capsStatus PCDWrapper::askDomainData(
    capsStatus (*function)(Parameters...), const Arguments&... arguments) const
{
    return isGood() && function != nullptr ? function(m_pcdSession, arguments...) : kCapsMissing;
}

capsStatus PCDWrapper::pcdOpenSessionNoCreate(capsiSession* session) const
{
    return m_functions.pcdOpenSessionNoCreate != nullptr
        ? m_functions.pcdOpenSessionNoCreate(session)
        : kCapsMissing;
}

capsStatus PCDWrapper::pcdCloseSession(capsiSession session) const
{
    return m_functions.pcdCloseSession != nullptr ? m_functions.pcdCloseSession(session)
                                                  : kCapsNoClose;
}

capsStatus PCDWrapper::capsOpenSession(capsiSession* session) const
{
    return m_functions.capsOpenSession != nullptr ? m_functions.capsOpenSession(session)
                                                  : kCapsMissing;
}

capsStatus PCDWrapper::capsCloseSession(capsiSession session) const
{
    return m_functions.capsCloseSession != nullptr ? m_functions.capsCloseSession(session)
                                                   : kCapsNoClose;
}

capsStatus PCDWrapper::pcdGetDomainDataSubdomains(capsDomain domain, capsList* out) const
{
    return useDomainData(domain)
        ? askDomainData(m_functions.pcdGetDomainDataSubdomains, domain, out)
        : capsGetCollectionPayloads(kInstalled, kLodoDataCollectionID, out);
}

capsStatus PCDWrapper::pcdGetDomainDataKeys(
    capsDomain domain, const char* subdomain, capsList* out) const
{
    return useDomainData(domain)
        ? askDomainData(m_functions.pcdGetDomainDataKeys, domain, subdomain, out)
        : capsGetPayloadDataKeys(subdomain, domain, out);
}

capsStatus PCDWrapper::pcdGetDomainData(
    capsDomain domain, const char* subdomain, const char* key, const char** out) const
{
    return useDomainData(domain)
        ? askDomainData(m_functions.pcdGetDomainData, domain, subdomain, key, out)
        : capsGetPayloadData(subdomain, 0, key, out);
}

capsStatus PCDWrapper::pcdSetDomainData(
    capsDomain domain, const char* subdomain, const char* key, const char* value) const
{
    if (useDomainData(domain))
        return askDomainData(m_functions.pcdSetDomainData, domain, subdomain, key, value);
    const capsStatus status = capsAddPayload(kLodoDataCollectionID,
        subdomain,
        kLodoDataPayloadProductFamilyValue,
        kLodoDataPayloadProductNameValue,
        kLodoDataPayloadProductVersionValue);
    return status == kCapsSuccess ? capsSetPayloadData(subdomain, 0, key, value) : status;
}

capsStatus PCDWrapper::pcdRemoveDomainData(
    capsDomain domain, const char* subdomain, const char* key) const
{
    if (useDomainData(domain))
        return askDomainData(m_functions.pcdRemoveDomainData, domain, subdomain, key);
    const capsStatus status = capsRemovePayloadData(subdomain, 0, key);
    capsList keys = nullptr;
    // A payload without keys goes as a whole.
    return capsGetPayloadDataKeys(subdomain, 0, &keys) == kCapsNoData ? capsRemovePayload(subdomain)
                                                                      : status;
}

capsStatus PCDWrapper::capsGetCollectionPayloads(
    capsInstallState state, const char* collection, capsList* out) const
{
    return askPayloads(m_functions.capsGetCollectionPayloads, state, collection, out);
}

capsStatus PCDWrapper::capsGetPayloadDataKeys(
    const char* payload, capsDomain domain, capsList* out) const
{
    return askPayloads(m_functions.capsGetPayloadDataKeys, payload, domain, out);
}

capsStatus PCDWrapper::capsGetPayloadData(
    const char* payload, capsDomain domain, const char* key, const char** out) const
{
    return askPayloads(m_functions.capsGetPayloadData, payload, domain, key, out);
}

capsStatus PCDWrapper::capsGetPayloads(capsInstallState state, capsList* out) const
{
    return askPayloads(m_functions.capsGetPayloads, state, out);
}

capsStatus PCDWrapper::capsSetPayloadData(const char*, capsDomain, const char*, const char*) const
{
    return notAvailable();
}

capsStatus PCDWrapper::capsRemovePayloadData(const char*, capsDomain, const char*) const
{
    return notAvailable();
}

capsStatus PCDWrapper::capsAddPayload(
    const char*, const char*, const char*, const char*, const char*) const
{
    return notAvailable();
}

capsStatus PCDWrapper::capsRemovePayload(const char*) const
{
    return notAvailable();
}

capsStatus PCDWrapper::capsGetLastModTime(std::uint32_t* time) const
{
    if (time != nullptr)
        *time = 0;
    return isGood() && m_functions.capsGetLastModTime != nullptr
        ? m_functions.capsGetLastModTime(time)
        : kCapsMissing;
}

capsStatus PCDWrapper::pcdGetLastModTime(std::uint32_t* time) const
{
    if (time != nullptr)
        *time = 0;
    return isGood() && m_functions.pcdGetLastModTime != nullptr
        ? m_functions.pcdGetLastModTime(time)
        : kCapsMissing;
}

} // namespace ScObjects
