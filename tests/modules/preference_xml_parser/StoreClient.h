// What the tests of the store share: a folder of their own, and a client that speaks of keys and
// values instead of buffers.
#pragma once

#include "TevoroAppManager/contract/IPtPreferences.h"
#include "preference_xml_parser/PreferenceStore.h"
#include "support/TestFolder.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tests {

// The domain that the plug-in uses.
inline constexpr int kDomain = 3;

// Knows the domain's file in it.
class StoreFolder : public test::TestFolder {
public:
    std::string preferences() const { return path(kFile); }
    void writePreferences(const std::string& bytes) const { write(kFile, bytes); }

private:
    static constexpr char kFile[] = "preferences-3.xml";
};

inline std::set<std::string> namesIn(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

// The contract's form of a text: terminated 16-bit units.
inline std::vector<unsigned short> units(std::u16string_view text)
{
    std::vector<unsigned short> result(text.begin(), text.end());
    result.push_back(0);
    return result;
}

// Holds one reference to a store.
class StoreClient {
public:
    explicit StoreClient(IPtPreferences* store)
        : m_store(store)
    {
    }
    explicit StoreClient(const std::string& folder)
        : StoreClient(new preferences::PreferenceStore(chain()))
    {
        if (!init(folder))
            throw std::runtime_error("no store in " + folder);
    }
    StoreClient(const StoreClient&) = delete;
    StoreClient& operator=(const StoreClient&) = delete;
    ~StoreClient() { m_store->Release(); }

    IPtPreferences& operator*() { return *m_store; }
    IPtPreferences* operator->() { return m_store; }

    bool init(const std::string& folder)
    {
        const std::u16string wide(folder.begin(), folder.end());
        return m_store->InitStore(units(wide).data(), static_cast<int>(wide.size()));
    }
    bool load() { return m_store->LoadStore(kDomain); }
    bool save() { return m_store->SaveStore(kDomain); }

    bool set(std::u16string_view key, std::u16string_view text)
    {
        return m_store->SetValue(
            kDomain, units(key).data(), units(text).data(), static_cast<int>(text.size()));
    }
    bool setBytes(std::u16string_view key, std::string_view bytes)
    {
        std::vector<unsigned char> content(bytes.begin(), bytes.end());
        content.push_back(0); // never a null pointer
        return m_store->SetBytes(
            kDomain, units(key).data(), content.data(), static_cast<int>(bytes.size()));
    }

    // The whole text, also one with zeros in it, by the mark that was there before.
    std::optional<std::u16string> text(std::u16string_view key)
    {
        constexpr unsigned short kMark = 0xdcba;
        std::vector<unsigned short> buffer(70000, kMark);
        if (!m_store->GetValue(
                kDomain, units(key).data(), buffer.data(), static_cast<int>(buffer.size())))
            return std::nullopt;
        while (buffer.back() == kMark)
            buffer.pop_back();
        buffer.pop_back(); // the terminator
        return std::u16string(buffer.begin(), buffer.end());
    }
    std::optional<std::string> bytes(std::u16string_view key, std::size_t size)
    {
        std::vector<unsigned char> buffer(size + 1);
        unsigned char* pointer = buffer.data();
        if (!m_store->GetBytes(kDomain, units(key).data(), &pointer, static_cast<int>(size)))
            return std::nullopt;
        return std::string(buffer.begin(), buffer.end() - 1);
    }

private:
    static preferences::StoreChain& chain()
    {
        static preferences::StoreChain stores;
        return stores;
    }

    IPtPreferences* m_store;
};

} // namespace tests
