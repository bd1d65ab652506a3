#include "mfx/engine/saving/FinalFolders.h"

#include "mfx/engine/card/MediaItem.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileSystemFacts.h"
#include "platform/common/text/NameText.h"

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

// A sub-folder, those above it that are not there yet, and the folder below which they lie.
void addFolders(std::set<std::string>& paths, const std::string& base, fs::path below)
{
    while (!below.empty() && paths.insert(base + '/' + below.string()).second)
        below = below.parent_path();
    paths.insert(base);
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

std::string FinalFolder::lostText() const
{
    return text(
        "$$$/Mfx/Place/FolderLost=the folder %1 is no longer where it was: its disk was taken "
        "out, or the folder was moved",
        {Pt::displayName(path)});
}

FinalFolders::FinalFolders(
    std::string target, const PlaceWatch& places, bool looksOnly, CutOffConversions conversions)
    : m_target(std::move(target))
    , m_places(places)
    , m_looksOnly(looksOnly)
    , m_conversions(conversions)
{
}

// The lock is held all the while: of two threads that want the same folder, one must find it
// cleared and read. What a crash left is put back before the stems are read, for it takes names as
// well.
FinalFolder& FinalFolders::open(const std::string& subfolder)
{
    Pt::Locked locked(m_lock);
    auto& folder = m_folders[subfolder];
    if (folder)
        return *folder;
    folder = make(subfolder.empty() ? std::string() : '/' + subfolder);
    if (!m_looksOnly && !folder->error)
        prepare(*folder);
    if (!folder->error)
        compare(*folder, nullptr);
    noteNames(*folder);
    return *folder;
}

// Once it is there, it is held open: what is saved goes into it and no other, whatever is mounted
// on its path later. The way there leads through the descriptor of the target for the same reason.
std::unique_ptr<FinalFolder> FinalFolders::make(const std::string& below) const
{
    const std::string path = m_target + below;
    const std::string way = m_places.targetOwnPath() + below;
    if (m_looksOnly)
        return std::make_unique<FinalFolder>(path, way, std::nullopt);
    std::error_code error = Pt::makeFolders(way, kFolderMode);
    std::optional<Pt::HeldFolder> held;
    if (!error)
        held = Pt::HeldFolder::open(way, path, error);
    const std::string ownPath = held ? held->ownPath() : way;
    auto folder = std::make_unique<FinalFolder>(path, ownPath, std::move(held));
    folder->error = error;
    return folder;
}

void FinalFolders::prepare(FinalFolder& folder)
{
    // With a journal of tried names where this is the backup folder, too: the sink tries names
    // there, and after a kill the next run must know which empty files are ours to remove.
    std::error_code recovery; // what could be neither put back nor removed stays where it is
    for (const std::string& name : folder.work.recover(recovery, m_conversions))
        m_restored.push_back(folder.path + '/' + name);
    folder.error = folder.work.layMarker(m_places.marker(), folder.path == m_places.backupPath());
}

void FinalFolders::compare(FinalFolder& folder, const FolderKinship* known) const
{
    folder.kinship = m_places.kinshipOf(folder.path, folder.ownPath, folder.work, known);
    folder.keepsOwnFiles = Pt::keepsItsOwnFiles(folder.ownPath);
    folder.objection = m_places.objectionTo(folder.path, folder.kinship).value_or("");
}

void FinalFolders::noteNames(FinalFolder& folder) const
{
    folder.stems.read(folder.ownPath);
    if (m_numbers)
        folder.numbered.read(folder.ownPath, *m_numbers);
}

void FinalFolders::compareAgain(FinalFolder& folder) const
{
    const FolderKinship known = folder.kinship;
    compare(folder, &known);
    if (!folder.isAtItsPath())
        folder.objection = folder.lostText();
}

// Right before originals go. All folders are looked at though one objection is enough to forbid the
// deletion: each keeps its own, by which items in it are judged.
std::optional<std::string> FinalFolders::compareAgain()
{
    Pt::Locked locked(m_lock);
    std::optional<std::string> objection;
    for (auto& [subfolder, folder] : m_folders) {
        if (folder->error)
            continue;
        compareAgain(*folder);
        if (!folder->objection.empty() && !objection)
            objection = folder->objection;
    }
    return objection;
}

void FinalFolders::forEach(const std::function<void(const FinalFolder&)>& call)
{
    Pt::Locked locked(m_lock);
    for (const auto& [subfolder, folder] : m_folders)
        if (!folder->error)
            call(*folder);
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

// Each folder and those above it up to the target's own, and the one that holds its name. A file's
// bytes were flushed when it was copied. Its name is an entry of a folder, that folder's name is an
// entry of the one above, and after a power cut the file is found only if all of them are there.
// Once at the end of the run, since each flush waits for the disk.
std::error_code FinalFolders::flush()
{
    Pt::Locked locked(m_lock);
    std::set<std::string> paths{fs::path(m_target).parent_path().string()};
    const std::string base = m_places.targetOwnPath();
    for (const auto& [subfolder, folder] : m_folders) {
        if (folder->error)
            continue;
        addFolders(paths, base, subfolder);
    }
    for (const std::string& path : paths)
        if (const std::error_code error = Pt::flushFolder(path))
            return error;
    return {};
}

} // namespace mfx
