// One domain of the store: what its file held when it was last read or written, and what was
// changed here since.
//
// Several processes keep one file: each saves only what it changed, over what the others saved.
// One thread at a time; load and save may block on the disk. Throws nothing but std::bad_alloc,
// and then everything set so far is still there.
#pragma once

#include "preference_xml_parser/PreferenceDocument.h"
#include "preference_xml_parser/PreferenceFile.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace preferences {

class PreferenceDomain {
public:
    // False leaves the domain empty. A damaged file is put aside.
    bool load(const PreferenceFile& file);

    // False leaves the changes standing, so that a later save can write them. A damaged file is
    // put aside and replaced; a file that cannot be read or understood is left alone, with false.
    bool save(const PreferenceFile& file);

    // Null when there is no such key. Valid until the next change, load or save.
    const PreferenceValue* find(std::u16string_view key) const;

    // Setting what the file already held is no change: so two programs that each write all their
    // keys, as programs do, do not undo each other's changes.
    void set(const std::u16string& key, PreferenceValue value);

private:
    using Change = std::pair<std::u16string, PreferenceValue>;

    std::vector<Change>::iterator findChange(std::u16string_view key);

    PreferenceDocument m_saved;
    std::vector<Change> m_changes; // in the order of setting
};

} // namespace preferences
