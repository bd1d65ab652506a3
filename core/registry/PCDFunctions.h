// The configuration store's library as it shows itself: fifteen C functions, found at run time,
// each of which may be missing. docs/store.md tells what they do.
//
// Lists are arrays of texts with a null behind the last one. Lists and values belong to the library
// and are valid until the next call with that session.
#pragma once

#include <cstdint>

namespace ScObjects {

using capsiSession = void*;
using capsDomain = std::int32_t; // 0 to 4
using capsInstallState = std::int32_t;
using capsStatus = std::int32_t;
using capsList = const char**;

// Statuses, those of the library and those of PCDWrapper. Others mean that something failed.
inline constexpr capsStatus kCapsSuccess = 0;
inline constexpr capsStatus kCapsMissing = 1; // no library, or no such function in it
inline constexpr capsStatus kCapsNoClose = 2;
inline constexpr capsStatus kCapsNoData = 8;
inline constexpr capsStatus kCapsNoSession = 9;
inline constexpr capsStatus kCapsNotAvailable = 11;

// Null where the library lacks the function.
struct PCDFunctionPtrs {
    capsStatus (*pcdOpenSessionNoCreate)(capsiSession*) = nullptr;
    capsStatus (*pcdCloseSession)(capsiSession) = nullptr;
    capsStatus (*pcdGetDomainDataSubdomains)(capsiSession, capsDomain, capsList*) = nullptr;
    capsStatus (*pcdGetDomainDataKeys)(capsiSession, capsDomain, const char*, capsList*) = nullptr;
    capsStatus (*pcdGetDomainData)(
        capsiSession, capsDomain, const char* subdomain, const char* key, const char**) = nullptr;
    capsStatus (*pcdSetDomainData)(capsiSession,
        capsDomain,
        const char* subdomain,
        const char* key,
        const char* value) = nullptr;
    capsStatus (*pcdRemoveDomainData)(
        capsiSession, capsDomain, const char* subdomain, const char* key) = nullptr;
    capsStatus (*capsOpenSession)(capsiSession*) = nullptr;
    capsStatus (*capsCloseSession)(capsiSession) = nullptr;
    capsStatus (*capsGetCollectionPayloads)(
        capsiSession, capsInstallState, const char* collection, capsList*) = nullptr;
    capsStatus (*capsGetPayloadDataKeys)(
        capsiSession, const char* payload, capsDomain, capsList*) = nullptr;
    capsStatus (*capsGetPayloadData)(
        capsiSession, const char* payload, capsDomain, const char* key, const char**) = nullptr;
    capsStatus (*capsGetPayloads)(capsiSession, capsInstallState, capsList*) = nullptr;
    capsStatus (*capsGetLastModTime)(std::uint32_t*) = nullptr;
    capsStatus (*pcdGetLastModTime)(std::uint32_t*) = nullptr;
};

} // namespace ScObjects
