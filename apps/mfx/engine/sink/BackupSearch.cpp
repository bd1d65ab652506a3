#include "mfx/engine/sink/BackupSearch.h"

#include "platform/common/files/FileCopy.h"

#include <charconv>
#include <cstdint>

namespace mfx {

namespace {

std::string numberedName(const std::string& name, std::uint64_t number)
{
    if (number == 0)
        return name;
    const std::size_t dot = name.rfind('.');
    const std::string stem = name.substr(0, dot);
    const std::string extension = dot == std::string::npos ? std::string() : name.substr(dot);
    return stem + '-' + std::to_string(number) + extension;
}

bool isSameFile(const Pt::FileStatus& a, const std::optional<Pt::FileStatus>& b)
{
    return b && a.device == b->device && a.inode == b->inode;
}

// The sink goes on from a number with which the device's name ends: beside IMG-7.JPG it makes
// IMG-7-8.JPG. 0 where there is none.
std::uint64_t ownNumber(const std::string& name)
{
    const std::string stem = name.substr(0, name.rfind('.'));
    const std::size_t dash = stem.rfind('-');
    std::uint64_t number = 0;
    if (dash != std::string::npos)
        std::from_chars(stem.data() + dash + 1, stem.data() + stem.size(), number);
    return number;
}

// Of the wanted size, and another file than the saved copy, which may lie in the same folder and is
// no backup of itself. Sizes are compared before bytes are read.
bool mayBeBackup(const std::optional<Pt::FileStatus>& there,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved)
{
    return there && there->kind == Pt::FileStatus::Kind::kRegular && there->size == digest.size
        && !isSameFile(*there, saved);
}

// Looks at the forms from a number on, up to the first that is missing: the sink fills numbers
// without a gap.
std::optional<std::string> findFrom(std::uint64_t first,
    const std::string& folder,
    const std::string& deviceName,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved)
{
    for (std::uint64_t number = first;; ++number) {
        const std::string name = numberedName(deviceName, number);
        const std::string path = folder + '/' + name;
        std::error_code error;
        const auto there = Pt::fileStatus(path, error);
        if (!there && number > 0) // beside its original, a copy begins with "-1"
            return std::nullopt;
        if (mayBeBackup(there, digest, saved) && Pt::digestOfFile(path, error) == digest)
            return name;
    }
}

} // namespace

std::optional<std::string> findBackup(const std::string& folder,
    const std::string& deviceName,
    const Pt::ContentDigest& digest,
    const std::optional<Pt::FileStatus>& saved)
{
    auto found = findFrom(0, folder, deviceName, digest, saved);
    const std::uint64_t own = ownNumber(deviceName);
    if (!found && own > 0)
        found = findFrom(own + 1, folder, deviceName, digest, saved);
    return found;
}

} // namespace mfx
