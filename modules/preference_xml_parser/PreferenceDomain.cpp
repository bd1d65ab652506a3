#include "preference_xml_parser/PreferenceDomain.h"

#include <algorithm>
#include <optional>

namespace preferences {
namespace {

// What stands on the disk.
struct Standing {
    enum class State {
        Whole,
        Missing,
        Damaged,
        Untouchable // unreadable, too long, no file, or of a later format: not ours to replace
    };

    State state = State::Untouchable;
    PreferenceDocument document;
};

Standing look(PreferenceFile const& file)
{
    Standing standing;
    Pt::FileContent const content = file.read();
    if (content.state == Pt::FileContent::State::Missing) {
        standing.state = Standing::State::Missing;
    }
    if (content.state != Pt::FileContent::State::Read) {
        return standing;
    }
    switch (standing.document.read(content.bytes)) {
    case PreferenceDocument::ReadResult::Whole:
        standing.state = Standing::State::Whole;
        break;
    case PreferenceDocument::ReadResult::Damaged:
        standing.state = Standing::State::Damaged;
        break;
    case PreferenceDocument::ReadResult::LaterFormat:
        break;
    }
    return standing;
}

// A damaged file is out of the way afterwards, or untouchable.
// Requires: the lock is held, since another process may have put a good file in the place of the
// damaged one that was seen before.
Standing lookAndPutAsideDamage(PreferenceFile const& file)
{
    Standing standing = look(file);
    if (standing.state == Standing::State::Damaged) {
        standing.state = file.putAside() ? Standing::State::Missing : Standing::State::Untouchable;
    }
    return standing;
}

} // namespace

bool PreferenceDomain::load(PreferenceFile const& file)
{
    m_saved = PreferenceDocument();
    m_changes.clear();
    Standing standing = look(file);
    if (standing.state == Standing::State::Damaged) {
        std::optional<Pt::FileLock> const lock = file.lock();
        if (!lock) {
            return false;
        }
        standing = lookAndPutAsideDamage(file);
    }
    if (standing.state != Standing::State::Whole) {
        return false;
    }
    m_saved = std::move(standing.document);
    return true;
}

bool PreferenceDomain::save(PreferenceFile const& file)
{
    std::optional<Pt::FileLock> const lock = file.lock();
    if (!lock) {
        return false;
    }
    Standing standing = lookAndPutAsideDamage(file);
    bool const whole = standing.state == Standing::State::Whole;
    if (!whole && standing.state != Standing::State::Missing) {
        return false;
    }
    // With the file gone, what this process knows of it is all there is.
    PreferenceDocument merged = whole ? std::move(standing.document) : m_saved.copy();
    for (auto const& [key, value] : m_changes) {
        merged.set(key, value);
    }
    if (!whole || !m_changes.empty()) {
        std::string const bytes = merged.written();
        if (bytes.size() > kLongestFile || !file.write(bytes)) {
            return false;
        }
    }
    m_saved = std::move(merged);
    m_changes.clear();
    return true;
}

PreferenceValue const* PreferenceDomain::find(std::u16string_view key) const
{
    for (auto const& [changedKey, value] : m_changes) {
        if (changedKey == key) {
            return &value;
        }
    }
    return m_saved.find(key);
}

void PreferenceDomain::set(std::u16string const& key, PreferenceValue value)
{
    auto const change = findChange(key);
    PreferenceValue const* const saved = m_saved.find(key);
    bool const asSaved = saved != nullptr && *saved == value;
    if (change == m_changes.end()) {
        if (!asSaved) {
            m_changes.emplace_back(key, std::move(value));
        }
    } else if (asSaved) {
        m_changes.erase(change);
    } else {
        change->second = std::move(value);
    }
}

std::vector<PreferenceDomain::Change>::iterator PreferenceDomain::findChange(
    std::u16string_view key)
{
    return std::find_if(m_changes.begin(), m_changes.end(), [&](Change const& change) {
        return change.first == key;
    });
}

} // namespace preferences
