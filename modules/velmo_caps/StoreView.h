// The user's store over the machine's, as readers see both: a text of the user's wins, what the
// user's hides is not there, and things come in the order of their addition, the machine's first.
// Constant after construction; any thread.
#pragma once

#include "velmo_caps/StoreRows.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velmo_caps {

struct ViewEntry {
    std::string key;
    std::string value;
};

class ViewSubdomain {
public:
    SubdomainName name;
    std::string collection;
    std::vector<ViewEntry> entries;
    bool isOfMachine = false;
    bool isOfUser = false;

    // Null when there is no such key.
    const std::string* find(std::string_view key) const;

private:
    friend class StoreView;
    std::optional<std::size_t> placeOf(std::string_view key) const;
    void sort();
    void lay(const std::vector<StoredEntry>& over);

    std::vector<std::uint32_t> m_byKey; // places of the entries, by key
};

class StoreView {
public:
    StoreView(const StoreRows& machine, const StoreRows& user);
    StoreView(const StoreView&) = delete;
    StoreView& operator=(const StoreView&) = delete;

    const std::vector<ViewSubdomain>& subdomains() const { return m_subdomains; }
    // Null when there is none.
    const ViewSubdomain* find(const SubdomainName& name) const;

private:
    void add(const StoredSubdomain& stored);
    void lay(const StoredSubdomain& stored);

    std::vector<ViewSubdomain> m_subdomains;
    std::unordered_map<std::string, std::size_t> m_places;
};

} // namespace velmo_caps
