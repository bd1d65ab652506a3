// The store as its callers see it: checks arguments, keeps the domains, counts references.
//
// Made with one reference; goes with the last. Every operation is called by one thread only and
// lets no exception out. Contract operations are described at IPtPreferences.
#pragma once

#include "TevoroAppManager/contract/IPtPreferences.h"
#include "preference_xml_parser/PreferenceDomain.h"

#include <map>
#include <string>

namespace preferences {

class PreferenceStore;

// The stores that live, chained through themselves. A caller that keeps its store for the life
// of the process thereby leaks nothing: the store can be reached from the module object.
struct StoreChain {
    PreferenceStore* first = nullptr;
};

class PreferenceStore final : public IPtPreferences {
public:
    // The chain is borrowed and outlives the store.
    explicit PreferenceStore(StoreChain& chain);
    PreferenceStore(const PreferenceStore&) = delete;
    PreferenceStore& operator=(const PreferenceStore&) = delete;

    std::int32_t QueryInterface(long id, void** out) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    bool InitStore(const unsigned short* path, int pathLength) override;
    bool LoadStore(int domain) override;
    bool SaveStore(int domain) override;
    bool GetValue(
        int domain, const unsigned short* key, unsigned short* buffer, int capacity) override;
    bool GetBytes(int domain, const unsigned short* key, unsigned char** buffer, int size) override;
    bool SetValue(
        int domain, const unsigned short* key, const unsigned short* value, int length) override;
    bool SetBytes(
        int domain, const unsigned short* key, const unsigned char* bytes, int size) override;

private:
    ~PreferenceStore();

    template <typename Kind>
    const Kind* find(int domain, const unsigned short* key) const;
    bool set(int domain, const unsigned short* key, PreferenceValue value);

    StoreChain& m_chain;
    PreferenceStore* m_previous = nullptr;
    PreferenceStore* m_next = nullptr;
    std::uint32_t m_references = 1;
    std::string m_folder; // absolute; empty before InitStore
    std::map<int, PreferenceDomain> m_domains;
};

} // namespace preferences
