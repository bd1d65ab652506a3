// One domain of preferences in memory, and the XML text that it is kept as.
//
// Owns the tree of the file it was read from, so that what this version does not know (elements,
// attributes, comments, values in other encodings) is written back as it came. One thread at a
// time. Throws nothing but std::bad_alloc; input of any kind is a result, never an exception.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <pugixml.hpp>

namespace preferences {

// The bytes of a longer file are not read, and none is written.
inline constexpr std::size_t kMaxFileLength = std::size_t{4} * 1024 * 1024;

// A text in 16-bit units, or a byte string.
using PreferenceValue = std::variant<std::u16string, std::string>;

class PreferenceDocument {
public:
    enum class ReadResult {
        kWhole,
        kDamaged, // no well-formed preference file
        kLaterFormat // of a major version that this code does not know
    };

    // An empty document of the current version.
    PreferenceDocument();

    // Replaces what is here; anything but Whole leaves an empty document.
    ReadResult read(std::string_view bytes);

    // The whole file. What was read and not changed gives the same values again, and written and
    // read once it gives the same bytes again.
    std::string written() const;

    PreferenceDocument copy() const;

    // Null when there is no such key or its value is in an unknown form. Valid until the next
    // change of the document.
    const PreferenceValue* find(std::u16string_view key) const;

    // Replaces a value where it stands, also one in an unknown form; adds a new one at the end.
    void set(const std::u16string& key, PreferenceValue value);

private:
    struct Entry {
        pugi::xml_node node;
        std::optional<PreferenceValue> value;
    };

    void clear();
    void indexEntries();
    void index(pugi::xml_node node);
    pugi::xml_node root() const;

    std::unique_ptr<pugi::xml_document> m_tree;
    std::map<std::u16string, Entry, std::less<>> m_entries;
};

} // namespace preferences
