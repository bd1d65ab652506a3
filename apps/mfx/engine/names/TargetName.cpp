#include "mfx/engine/names/TargetName.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <utility>

namespace mfx {

std::string numberedStem(std::string_view stem, std::uint64_t number)
{
    std::string numbered(stem);
    if (number > 0)
        numbered += '-' + std::to_string(number);
    return numbered;
}

// For names that a card has and no file can: its file system may be another, or damaged.
std::string safeStem(std::string_view stem)
{
    std::string safe(stem.empty() ? std::string_view("_") : stem);
    std::replace(safe.begin(), safe.end(), '/', '_');
    std::replace(safe.begin(), safe.end(), '\0', '_');
    if (safe.front() == '.')
        safe.front() = '_';
    return safe;
}

GroupTarget::GroupTarget(
    std::string subfolder, std::string stem, std::vector<std::string> extensions)
    : m_subfolder(std::move(subfolder))
    , m_stem(std::move(stem))
    , m_extensions(std::move(extensions))
{
    for (const std::string& extension : m_extensions) {
        const std::size_t length = extension.empty() ? 0 : extension.size() + 1;
        m_longestExtension = std::max(m_longestExtension, length);
    }
}

// The stem is cut to what the longest extension of the group leaves over, so that all members keep
// one stem, also where only one of them is too long.
std::string GroupTarget::fileName(std::size_t member, std::uint64_t number) const
{
    const std::size_t taken = m_longestExtension + numberedStem("", number).size();
    // Extensions are short (see stemLength()); a source that is no card may think otherwise.
    const std::size_t room = taken < kMaxNameLength ? kMaxNameLength - taken : 0;
    std::string name = numberedStem(Pt::cutName(m_stem, room), number);
    if (!m_extensions[member].empty())
        name += '.' + m_extensions[member];
    return name;
}

NameFields nameFields(const CardContents& card,
    const ItemGroup& group,
    const CaptureDate& date,
    std::uint64_t sequence)
{
    return {Pt::displayName(groupStem(card, group)),
        Pt::displayName(memberExtension(card, group, 0)),
        date.moment,
        sequence};
}

namespace {

std::vector<std::string> shownExtensions(const CardContents& card, const ItemGroup& group)
{
    std::vector<std::string> extensions;
    extensions.reserve(group.members.size());
    for (std::size_t member = 0; member < group.members.size(); ++member)
        extensions.push_back(Pt::displayName(memberExtension(card, group, member)));
    return extensions;
}

} // namespace

GroupTarget groupTarget(const CardContents& card,
    const ItemGroup& group,
    const CaptureDate& date,
    const NamingRules& rules,
    std::uint64_t sequence)
{
    std::vector<std::string> extensions = shownExtensions(card, group);
    const NameFields fields = nameFields(card, group, date, sequence);
    std::string stem = rules.rename ? rules.rename->stem(fields) : fields.name;
    return {rules.subfolders ? rules.subfolders->folder(date.moment) : std::string(),
        safeStem(stem),
        std::move(extensions)};
}

} // namespace mfx
