// The way to the configuration store. Loads its library, keeps it loaded as long as any wrapper
// lives, holds a session with each of its two faces (domain data and payloads), and routes each
// request to the right one. Without the library, or without a store, it is not good, and every
// request answers kCapsMissing.
//
// Belongs to one connector and is called under its lock. Made and deleted by one thread at a time.
#pragma once

#include "messaging/SoHeap.h"
#include "registry/SharedLib.h"

namespace ScObjects {

class PCDWrapper : public SoHeap {
public:
    // Only the master store can be opened.
    PCDWrapper(bool master, capsDomain domain);
    ~PCDWrapper() override;
    PCDWrapper(const PCDWrapper&) = delete;
    PCDWrapper& operator=(const PCDWrapper&) = delete;

    bool isGood() const { return m_library != nullptr; }
    capsDomain getDomain() const { return m_domain; }
    // Whether requests for that domain go to the domain data; the others go to the payloads.
    bool useDomainData(capsDomain domain) const { return m_master && domain != 0; }

    capsStatus pcdGetDomainDataSubdomains(capsDomain domain, capsList* out) const;
    capsStatus pcdGetDomainDataKeys(capsDomain domain, const char* subdomain, capsList* out) const;
    capsStatus pcdGetDomainData(
        capsDomain domain, const char* subdomain, const char* key, const char** out) const;
    capsStatus pcdSetDomainData(
        capsDomain domain, const char* subdomain, const char* key, const char* value) const;
    capsStatus pcdRemoveDomainData(capsDomain domain, const char* subdomain, const char* key) const;

    capsStatus capsGetCollectionPayloads(
        capsInstallState state, const char* collection, capsList* out) const;
    capsStatus capsGetPayloadDataKeys(const char* payload, capsDomain domain, capsList* out) const;
    capsStatus capsGetPayloadData(
        const char* payload, capsDomain domain, const char* key, const char** out) const;
    capsStatus capsGetPayloads(capsInstallState state, capsList* out) const;
    // Payloads cannot be written.
    capsStatus capsSetPayloadData(
        const char* payload, capsDomain domain, const char* key, const char* value) const;
    capsStatus capsRemovePayloadData(const char* payload, capsDomain domain, const char* key) const;
    capsStatus capsAddPayload(const char* collection,
        const char* payload,
        const char* family,
        const char* name,
        const char* version) const;
    capsStatus capsRemovePayload(const char* payload) const;

    // Set the time to 0 if they fail.
    capsStatus capsGetLastModTime(std::uint32_t* time) const;
    capsStatus pcdGetLastModTime(std::uint32_t* time) const;

private:
    capsStatus pcdOpenSessionNoCreate(capsiSession* session) const;
    capsStatus pcdCloseSession(capsiSession session) const;
    capsStatus capsOpenSession(capsiSession* session) const;
    capsStatus capsCloseSession(capsiSession session) const;
    void openSessions();
    void letGoOfLibrary();
    template <typename... Parameters, typename... Arguments>
    capsStatus askPayloads(
        capsStatus (*function)(Parameters...), const Arguments&... arguments) const;
    template <typename... Parameters, typename... Arguments>
    capsStatus askDomainData(
        capsStatus (*function)(Parameters...), const Arguments&... arguments) const;
    capsStatus notAvailable() const { return isGood() ? kCapsNotAvailable : kCapsMissing; }

    PCDFunctionPtrs m_functions;
    Pt::ModuleHandle m_library = nullptr;
    capsiSession m_pcdSession = nullptr;
    capsiSession m_capsSession = nullptr;
    capsDomain m_domain;
    bool m_master;
};

} // namespace ScObjects
