#include "mfx/engine/names/NumberedFiles.h"

#include "platform/common/files/FileCopy.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace mfx {

namespace fs = std::filesystem;

namespace {

// Nothing for what is no file, or cannot be asked.
std::optional<Pt::FileStatus> regularFile(const std::string& path)
{
    std::error_code unknown;
    const auto status = Pt::fileStatus(path, unknown);
    return status && status->kind == Pt::FileStatus::Kind::kRegular ? status : std::nullopt;
}

// The lowest number first: of several copies, the oldest is the one that people know.
std::vector<std::string> stemsAmong(const std::vector<std::string_view>& files,
    const std::string& extension,
    const NumberMatcher& names)
{
    std::vector<std::pair<std::uint64_t, std::string>> found;
    for (const std::string_view file : files) {
        const auto match = names.match(file);
        if (match && match->extension == extension)
            found.emplace_back(match->number, match->stem);
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> stems;
    stems.reserve(found.size());
    for (auto& [number, stem] : found)
        stems.push_back(std::move(stem));
    return stems;
}

} // namespace

// Once for a run, so that each group is looked up by size instead of asking for every number in
// turn.
void NumberedFiles::read(const std::string& folder, const NumberMatcher& allNames)
{
    m_folder = folder;
    std::error_code error; // what cannot be listed or asked holds nothing that could be recognised
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        if (!allNames.match(name))
            continue;
        const auto status = regularFile(it->path().string());
        if (!status)
            continue;
        m_files.emplace(name, *status);
        m_bySize.emplace(status->size, name);
    }
}

std::vector<std::string> NumberedFiles::stemsOf(
    std::uint64_t size, const std::string& extension, const NumberMatcher& names) const
{
    const auto [first, last] = m_bySize.equal_range(size);
    std::vector<std::string_view> files;
    for (auto entry = first; entry != last; ++entry)
        files.emplace_back(entry->second);
    return stemsAmong(files, extension, names);
}

std::vector<std::string> NumberedFiles::stemsOf(
    const std::string& extension, const NumberMatcher& names) const
{
    std::vector<std::string_view> files;
    for (const auto& [name, status] : m_files)
        if (name.ends_with('.' + extension))
            files.emplace_back(name);
    return stemsAmong(files, extension, names);
}

std::optional<Pt::FileStatus> NumberedFiles::statusOf(const std::string& name) const
{
    const auto found = m_files.find(name);
    return found == m_files.end() ? std::nullopt : std::optional(found->second);
}

// Read without the lock: two threads may read one file at the same time, which costs less than that
// one waits for the other's gigabyte. A file that changed since the listing is no copy to rely on.
std::optional<Pt::ContentDigest> NumberedFiles::digestOf(const std::string& name)
{
    const std::string path = m_folder + '/' + name;
    std::error_code error;
    const auto now = Pt::fileStatus(path, error);
    if (!now || now != statusOf(name))
        return std::nullopt;
    {
        Pt::Locked locked(m_lock);
        if (const auto known = m_digests.find(name); known != m_digests.end())
            return known->second;
    }
    const auto digest = Pt::digestOfFile(path, error);
    Pt::Locked locked(m_lock);
    if (digest)
        m_digests.emplace(name, *digest);
    return digest;
}

} // namespace mfx
