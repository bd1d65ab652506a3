// Where a group is saved and what its members are called there. Preview and run both ask here, so
// that the names shown are the names given.
//
// Free functions and a value; any thread may use them.
#pragma once

#include "mfx/engine/card/ItemGroups.h"
#include "mfx/engine/dates/CaptureDate.h"
#include "mfx/engine/names/NamePattern.h"
#include "mfx/engine/names/SubfolderPattern.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mfx {

constexpr std::size_t kMaxNameLength = 255; // bytes of one file name, on every file system we write

// "stem" for 0, "stem-1" for 1 and so on.
std::string numberedStem(std::string_view stem, std::uint64_t number);

// The stem as that of a file that shows: without "/" and NUL, not empty, without a leading dot;
// "_" stands for what must not be there.
std::string safeStem(std::string_view stem);

struct NamingRules {
    std::optional<NamePattern> rename; // the device's name without one
    std::optional<SubfolderPattern> subfolders; // none without one

    bool useNumbers() const { return rename && rename->usesSequence(); }
    bool useDates() const { return subfolders || (rename && rename->usesDate()); }
};

class GroupTarget {
public:
    // Extensions as text, without the dot, one per member in member order.
    GroupTarget(std::string subfolder, std::string stem, std::vector<std::string> extensions);

    const std::string& subfolder() const { return m_subfolder; } // "" is the target itself
    std::size_t size() const { return m_extensions.size(); }
    const std::string& extension(std::size_t member) const { return m_extensions[member]; }

    // The name of one member in its `number`th form: 0 is the plain one, k has "-k" behind the
    // stem. Never above 255 bytes: the stem is cut between characters, by the same amount for all
    // members.
    std::string fileName(std::size_t member, std::uint64_t number) const;

private:
    std::string m_subfolder;
    std::string m_stem;
    std::vector<std::string> m_extensions;
    std::size_t m_longestExtension = 0; // with its dot
};

// What the fields of a name pattern stand for in a group.
NameFields nameFields(const CardContents& card,
    const ItemGroup& group,
    const CaptureDate& date,
    std::uint64_t sequence);

// `sequence` is the number of this group for {seq}. Throws PatternError as NamePattern::stem()
// does.
GroupTarget groupTarget(const CardContents& card,
    const ItemGroup& group,
    const CaptureDate& date,
    const NamingRules& rules,
    std::uint64_t sequence);

} // namespace mfx
