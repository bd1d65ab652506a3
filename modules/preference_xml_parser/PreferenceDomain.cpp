#include "preference_xml_parser/PreferenceDomain.h"

#include <algorithm>
#include <optional>

namespace preferences {
namespace {

// What stands on the disk.
struct Standing {
    enum class State {
        kWhole,
        kMissing,
        kDamaged,
        kUntouchable // unreadable, too long, no file, or of a later format: not ours to replace
    };

    State state = State::kUntouchable;
    PreferenceDocument document;
};

Standing look(const PreferenceFile& file)
{
    Standing standing;
    const Pt::FileContent content = file.read();
    if (content.state == Pt::FileContent::State::kMissing)
        standing.state = Standing::State::kMissing;
    if (content.state != Pt::FileContent::State::kRead)
        return standing;
    switch (standing.document.read(content.bytes)) {
    case PreferenceDocument::ReadResult::kWhole:
        standing.state = Standing::State::kWhole;
        break;
    case PreferenceDocument::ReadResult::kDamaged:
        standing.state = Standing::State::kDamaged;
        break;
    // Stays untouchable, as it was from the start.
    case PreferenceDocument::ReadResult::kLaterFormat:
        break;
    }
    return standing;
}

// A damaged file is out of the way afterwards, or untouchable.
// Requires: the lock is held, since another process may have put a good file in the place of the
// damaged one that was seen before.
Standing lookAndPutAsideDamage(const PreferenceFile& file)
{
    Standing standing = look(file);
    if (standing.state == Standing::State::kDamaged) {
        standing.state =
            file.putAside() ? Standing::State::kMissing : Standing::State::kUntouchable;
    }
    return standing;
}

// Damage is put aside with the lock, and stays where the lock is not to be had.
Standing lookAndMend(const PreferenceFile& file)
{
    Standing standing = look(file);
    if (standing.state != Standing::State::kDamaged)
        return standing;
    const std::optional<Pt::FileLock> lock = file.lock();
    if (!lock)
        return standing;
    return lookAndPutAsideDamage(file);
}

} // namespace

bool PreferenceDomain::load(const PreferenceFile& file)
{
    m_saved = PreferenceDocument();
    m_changes.clear();
    Standing standing = lookAndMend(file);
    if (standing.state != Standing::State::kWhole)
        return false;
    m_saved = std::move(standing.document);
    return true;
}

bool PreferenceDomain::save(const PreferenceFile& file)
{
    // Before the file is read: between reading and renaming nobody else may save.
    const std::optional<Pt::FileLock> lock = file.lock();
    if (!lock)
        return false;
    Standing standing = lookAndPutAsideDamage(file);
    const bool whole = standing.state == Standing::State::kWhole;
    if (!whole && standing.state != Standing::State::kMissing)
        return false;
    // With the file gone, what this process knows of it is all there is.
    PreferenceDocument merged = whole ? std::move(standing.document) : m_saved.copy();
    for (const auto& [key, value] : m_changes)
        merged.set(key, value);
    // Nothing changed and a whole file there: it is not written again, but its content is what we
    // know from now on.
    if (!whole || !m_changes.empty()) {
        const std::string bytes = merged.written();
        if (bytes.size() > kMaxFileLength || !file.write(bytes))
            return false;
    }
    // After the write, so that a failure leaves the changes for a later save.
    m_saved = std::move(merged);
    m_changes.clear();
    return true;
}

const PreferenceValue* PreferenceDomain::find(std::u16string_view key) const
{
    // A plain search: there are some thirty keys.
    for (const auto& [changedKey, value] : m_changes)
        if (changedKey == key)
            return &value;
    return m_saved.find(key);
}

void PreferenceDomain::set(const std::u16string& key, PreferenceValue value)
{
    const auto change = findChange(key);
    const PreferenceValue* const saved = m_saved.find(key);
    // A value that is set back to what the file holds stops being a change, so a save does not undo
    // what another process has written meanwhile.
    const bool asSaved = saved != nullptr && *saved == value;
    if (change == m_changes.end()) {
        if (!asSaved)
            m_changes.emplace_back(key, std::move(value));
    } else if (asSaved) {
        m_changes.erase(change);
    } else {
        change->second = std::move(value);
    }
}

std::vector<PreferenceDomain::Change>::iterator PreferenceDomain::findChange(
    std::u16string_view key)
{
    return std::find_if(m_changes.begin(), m_changes.end(), [&](const Change& change) {
        return change.first == key;
    });
}

} // namespace preferences
