// The preference store: texts and byte strings by key, in numbered domains, kept in one folder.
//
// The library "preference_xml_parser" implements it; it is loaded at run time and may be absent.
// Text is arrays of 16-bit units in host byte order; keys end with a 0 unit; lengths and
// capacities count units for texts and bytes for byte strings. One thread only (the host's main
// thread) calls a store and its module object. Nothing is thrown through these tables.
#pragma once

#include <cstdint>

// The bytes that GetInterface expects for a store.
// clang-format off
inline constexpr unsigned char kIPtPreferencesID[16] = {
    0xec, 0x59, 0x41, 0xfc, 0xbe, 0x12, 0x43, 0xca,
    0x98, 0x8a, 0xf9, 0x05, 0x52, 0x71, 0xa1, 0xcb};
// clang-format on

// A null argument, a negative number or an unknown domain (known are 0 to 255) gives false, and
// nothing else happens. A key has one value, a text or a byte string, whichever was set last.
// GetInterface hands the store out with one reference, which belongs to the caller.
class IPtPreferences {
public:
    // Id 0 gives the store itself with a reference added, and 1. Any other id stores null and
    // gives 0.
    virtual std::int32_t QueryInterface(long id, void** out) = 0;

    // Both give the number of references after the call. At 0 the store is gone, and what was set
    // and not saved with it.
    virtual std::uint32_t AddRef() = 0;
    virtual std::uint32_t Release() = 0;

    // Names the folder of the store (pathLength units; a relative path is made absolute at once)
    // and makes it, with the folders above it, when it is missing. True when the folder is there.
    // All domains start empty afterwards. False leaves the store as it was.
    virtual bool InitStore(const unsigned short* path, int pathLength) = 0;

    // Reads the domain's file. What the domain held before is dropped, also what was set and not
    // saved. False, and an empty domain, when the file is missing, unreadable, damaged or of a
    // later major format. A damaged file is put aside under another name.
    virtual bool LoadStore(int domain) = 0;

    // Lays what was changed here since the last load or save over what the file holds now, and
    // writes that out; the domain holds all of it afterwards. May wait up to five seconds for
    // another process that saves. False when the result could not be written down for good; the
    // file then holds a whole earlier or later state, and the changes can be saved again.
    virtual bool SaveStore(int domain) = 0;

    // Writes at most capacity units including the terminating 0, which is always there. A longer
    // text is cut, though never between the halves of a surrogate pair. False, and an untouched
    // buffer, when the key has no text or capacity is 0. An empty text is there.
    virtual bool GetValue(
        int domain, const unsigned short* key, unsigned short* buffer, int capacity) = 0;

    // Copies at most size bytes into *buffer, which the caller owns; adds no terminator. False,
    // and an untouched buffer, when the key has no byte string.
    virtual bool GetBytes(
        int domain, const unsigned short* key, unsigned char** buffer, int size) = 0;

    // Keep copies of length units or size bytes. Any units and bytes are allowed, 0 included. A
    // domain that was not loaded takes them too.
    virtual bool SetValue(
        int domain, const unsigned short* key, const unsigned short* value, int length) = 0;
    virtual bool SetBytes(
        int domain, const unsigned short* key, const unsigned char* bytes, int size) = 0;

protected:
    ~IPtPreferences() = default;
};

// The module object of the library: one for the process, there as long as the library is loaded.
class IPtPreferencesModule {
public:
    // Makes a new store for kIPtPreferencesID and stores it in *out with one reference, the
    // caller's. Stores outlive Destroy; the library has to stay loaded while one is in use.
    // An unknown id stores null and gives false.
    virtual bool GetInterface(const unsigned char* id16, void** out) = 0;

    // Says that the caller is done with the module object. Stores it handed out stay valid.
    virtual void Destroy() = 0;

protected:
    ~IPtPreferencesModule() = default;
};

// The library's only exported function, by this name: stores the module object in *out. False
// when out is null.
inline constexpr char kPtModuleMainName[] = "PtModuleMain";
using PtModuleMainFunction = bool (*)(void** out);
