#include "velmo_caps/StoreView.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace velmo_caps {

namespace {

std::string keyOf(const SubdomainName& name)
{
    return std::to_string(static_cast<std::int32_t>(name.face)) + ' ' + std::to_string(name.domain)
        + ' ' + name.name;
}

} // namespace

std::optional<std::size_t> ViewSubdomain::placeOf(std::string_view key) const
{
    const auto found = std::lower_bound(
        m_byKey.begin(), m_byKey.end(), key, [this](std::uint32_t place, std::string_view wanted) {
            return entries[place].key < wanted;
        });
    if (found == m_byKey.end() || entries[*found].key != key)
        return std::nullopt;
    return *found;
}

const std::string* ViewSubdomain::find(std::string_view key) const
{
    const auto place = placeOf(key);
    return place ? &entries[*place].value : nullptr;
}

void ViewSubdomain::sort()
{
    m_byKey.resize(entries.size());
    std::iota(m_byKey.begin(), m_byKey.end(), 0U);
    std::sort(m_byKey.begin(), m_byKey.end(), [this](std::uint32_t one, std::uint32_t other) {
        return entries[one].key < entries[other].key;
    });
}

void ViewSubdomain::lay(const std::vector<StoredEntry>& over)
{
    const bool isAllHidden = std::any_of(over.begin(), over.end(), [](const StoredEntry& entry) {
        return entry.key == kAllKeys && !entry.value;
    });
    std::vector<bool> isHidden(entries.size(), isAllHidden);
    std::vector<ViewEntry> added;
    for (const StoredEntry& entry : over) {
        const auto place = placeOf(entry.key);
        if (!place && entry.value)
            added.push_back({entry.key, *entry.value});
        if (!place)
            continue;
        isHidden[*place] = !entry.value;
        if (entry.value)
            entries[*place].value = *entry.value;
    }
    std::vector<ViewEntry> result;
    for (std::size_t place = 0; place < entries.size(); ++place)
        if (!isHidden[place])
            result.push_back(std::move(entries[place]));
    std::move(added.begin(), added.end(), std::back_inserter(result));
    entries = std::move(result);
    sort();
}

void StoreView::add(const StoredSubdomain& stored)
{
    ViewSubdomain subdomain;
    subdomain.name = stored.name;
    subdomain.collection = stored.collection;
    // In the machine's own store a mark hides nothing: there is nothing below it.
    for (const StoredEntry& entry : stored.entries)
        if (entry.value)
            subdomain.entries.push_back({entry.key, *entry.value});
    subdomain.sort();
    m_places.emplace(keyOf(stored.name), m_subdomains.size());
    m_subdomains.push_back(std::move(subdomain));
}

// Over what is there.
void StoreView::lay(const StoredSubdomain& stored)
{
    const auto found = m_places.find(keyOf(stored.name));
    if (found == m_places.end()) {
        add(stored);
        m_subdomains.back().isOfUser = true;
        return;
    }
    ViewSubdomain& below = m_subdomains[found->second];
    below.isOfUser = true;
    if (!stored.collection.empty())
        below.collection = stored.collection;
    below.lay(stored.entries);
}

StoreView::StoreView(const StoreRows& machine, const StoreRows& user)
{
    for (const StoredSubdomain& each : machine.subdomains) {
        add(each);
        m_subdomains.back().isOfMachine = true;
    }
    for (const StoredSubdomain& each : user.subdomains)
        lay(each);
    // What is left without a text is hidden.
    std::erase_if(m_subdomains, [](const ViewSubdomain& each) { return each.entries.empty(); });
    m_places.clear();
    for (std::size_t place = 0; place < m_subdomains.size(); ++place)
        m_places.emplace(keyOf(m_subdomains[place].name), place);
}

const ViewSubdomain* StoreView::find(const SubdomainName& name) const
{
    const auto found = m_places.find(keyOf(name));
    return found == m_places.end() ? nullptr : &m_subdomains[found->second];
}

} // namespace velmo_caps
