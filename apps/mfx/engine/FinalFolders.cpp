#include "mfx/engine/FinalFolders.h"

#include "mfx/engine/MediaItem.h"
#include "platform/common/FilePlacement.h"

#include <filesystem>
#include <functional>
#include <set>
#include <utility>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr unsigned int kFolderMode = 0777; // less the process's mask

// The name without its extension, a sidecar's chain of two included.
std::string_view stemOf(std::string_view name)
{
    return name.substr(0, stemLength(name, [](std::string_view) { return false; }));
}

} // namespace

void StemRegister::read(const std::string& folder)
{
    std::error_code error; // a folder that cannot be listed has no stems that we could mistake
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().string();
        m_hashes.insert(std::hash<std::string_view>()(stemOf(name)));
    }
}

bool StemRegister::isTaken(std::string_view name) const
{
    return m_hashes.contains(std::hash<std::string_view>()(stemOf(name)));
}

void StemRegister::take(std::string_view name)
{
    m_hashes.insert(std::hash<std::string_view>()(stemOf(name)));
}

FinalFolder& FinalFolders::open(const std::string& subfolder)
{
    Pt::Locked locked(m_lock);
    auto& folder = m_folders[subfolder];
    if (folder)
        return *folder;
    folder = std::make_unique<FinalFolder>(
        subfolder.empty() ? m_target : (fs::path(m_target) / subfolder).string());
    if (!m_looksOnly)
        prepare(*folder);
    folder->stems.read(folder->path);
    return *folder;
}

void FinalFolders::prepare(FinalFolder& folder)
{
    folder.error = Pt::makeFolders(folder.path, kFolderMode);
    if (folder.error)
        return;
    std::error_code recovery; // what could be neither put back nor removed stays where it is
    for (const std::string& name : folder.work.recover(recovery))
        m_restored.push_back(folder.path + '/' + name);
}

std::vector<std::string> FinalFolders::takeRestored()
{
    Pt::Locked locked(m_lock);
    return std::exchange(m_restored, {});
}

void FinalFolders::leave()
{
    Pt::Locked locked(m_lock);
    for (auto& [subfolder, folder] : m_folders)
        folder->work.leave();
}

std::error_code FinalFolders::flush()
{
    Pt::Locked locked(m_lock);
    std::set<std::string> paths;
    const std::string above = fs::path(m_target).parent_path().string();
    for (const auto& [subfolder, folder] : m_folders) {
        if (folder->error)
            continue;
        fs::path path = folder->path;
        while (path.string().size() >= above.size() && paths.insert(path.string()).second
            && path.has_relative_path())
            path = path.parent_path();
    }
    for (const std::string& path : paths) {
        if (const std::error_code error = Pt::flushFolder(path))
            return error;
    }
    return {};
}

} // namespace mfx
