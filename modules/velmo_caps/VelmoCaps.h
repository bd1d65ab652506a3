// The configuration store, as its callers have it: which applications there are, where they lie and
// what they support. The module velmo_caps.framework exports these fifteen functions and no other.
//
// It has two faces. The pcd functions serve texts by domain, subdomain and key; the caps functions
// serve the payloads of products by collection, domain and key. Behind both lie two databases: the
// user's over the machine's (docs/store.md says where). A text of the user's store wins over the
// machine's for the same domain, subdomain and key; lists come in the order in which things were
// added, the machine's first. Each call sees what was committed last; keys and values may be those
// of a fifth of a millisecond ago, but are never older than a time that was told or a write of
// one's own.
//
// A session belongs to one thread at a time; several sessions may be used at once, by any threads.
// Lists are arrays that end with a null pointer; lists and texts are the library's: they are valid
// until the session's next call of the same function, or its close. Texts are bytes with a zero at
// the end. Calls block on the disk, and up to kCapsPatience while another process writes; the two
// time functions do not wait. Nothing is thrown.
#pragma once

#include <cstdint>

#define VELMO_CAPS_API __attribute__((visibility("default")))

using capsiSession = void*;
using capsDomain = std::int32_t; // 0 to 4
using capsInstallState = std::int32_t;
using capsStatus = std::int32_t;

inline constexpr capsStatus kCapsSuccess = 0;
inline constexpr capsStatus kCapsBadArgument =
    3; // a null pointer; to writes also an empty name, no such domain
inline constexpr capsStatus kCapsUnusable = 4; // no permission, no room, the disk fails
inline constexpr capsStatus kCapsLocked = 5; // another process keeps the store locked
inline constexpr capsStatus kCapsNewerSchema = 6; // a later version of this library made the store
inline constexpr capsStatus kCapsNoData = 8; // also where a store is missing or cannot be read

// Payloads that are installed: the one state that there is. Others list nothing.
inline constexpr capsInstallState kCapsInstalled = 4;

// Seconds to wait for another process's lock.
inline constexpr int kCapsPatience = 3;

extern "C" {

// Neither call makes a store, and neither needs one: the lists of a store that is missing answer
// kCapsNoData, and it is found once it appears. `session` is null on failure.
VELMO_CAPS_API capsStatus pcdOpenSessionNoCreate(capsiSession* session);
VELMO_CAPS_API capsStatus capsOpenSession(capsiSession* session);

// Ends the session, its lists and its texts.
VELMO_CAPS_API capsStatus pcdCloseSession(capsiSession session);
VELMO_CAPS_API capsStatus capsCloseSession(capsiSession session);

// kCapsNoData when there is nothing to list; `list` is empty then. A subdomain that the session's
// latest list has named, and that another process has removed since, has an empty list of keys and
// kCapsSuccess: a walk goes on.
VELMO_CAPS_API capsStatus pcdGetDomainDataSubdomains(
    capsiSession session, capsDomain domain, const char*** list);
VELMO_CAPS_API capsStatus pcdGetDomainDataKeys(
    capsiSession session, capsDomain domain, const char* subdomain, const char*** list);

// `value` is null when there is none.
VELMO_CAPS_API capsStatus pcdGetDomainData(capsiSession session,
    capsDomain domain,
    const char* subdomain,
    const char* key,
    const char** value);

// Write into the user's store. The first write makes it. Done when it returns: on the disk, and
// seen by all sessions. A removal of what only the machine's store has hides that from this user.
// kCapsNoData when there is nothing to remove.
VELMO_CAPS_API capsStatus pcdSetDomainData(capsiSession session,
    capsDomain domain,
    const char* subdomain,
    const char* key,
    const char* value);
VELMO_CAPS_API capsStatus pcdRemoveDomainData(
    capsiSession session, capsDomain domain, const char* subdomain, const char* key);

VELMO_CAPS_API capsStatus capsGetCollectionPayloads(
    capsiSession session, capsInstallState state, const char* collection, const char*** list);
VELMO_CAPS_API capsStatus capsGetPayloadDataKeys(
    capsiSession session, const char* payload, capsDomain domain, const char*** list);
VELMO_CAPS_API capsStatus capsGetPayloadData(capsiSession session,
    const char* payload,
    capsDomain domain,
    const char* key,
    const char** value);
VELMO_CAPS_API capsStatus capsGetPayloads(
    capsiSession session, capsInstallState state, const char*** list);

// Numbers above 0 that rise with every write to either store, and when a store comes, goes or can
// be read again; nothing lowers them while the library is loaded. Both functions give the same.
VELMO_CAPS_API capsStatus capsGetLastModTime(std::uint32_t* time);
VELMO_CAPS_API capsStatus pcdGetLastModTime(std::uint32_t* time);

} // extern "C"
