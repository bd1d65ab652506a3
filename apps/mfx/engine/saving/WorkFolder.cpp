#include "mfx/engine/saving/WorkFolder.h"

#include "mfx/engine/card/MediaItem.h"
#include "mfx/engine/names/TargetName.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/NameJournal.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr int kAttempts = 1000; // another process may remove the folder as often as we make it

bool isNumber(const std::string& text)
{
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// A group's folder, "<process id>-<number>". A folder with another name was put here by somebody
// else, and is never removed.
bool isOwnLeftover(const fs::path& path)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path.string(), error);
    const std::string name = path.filename().string();
    const std::size_t dash = name.find('-');
    return status && status->kind == Pt::FileStatus::Kind::kFolder && dash != std::string::npos
        && isNumber(name.substr(0, dash)) && isNumber(name.substr(dash + 1));
}

// The name that the killed run was trying may stand in the final folder, empty. It is found by the
// journal in the leftover, and so goes first.
void removeLeftover(const fs::path& leftover, const std::string& folder, std::error_code& error)
{
    Pt::removeTriedName(leftover.string(), folder);
    fs::remove_all(leftover, error);
}

bool stands(const std::string& path)
{
    std::error_code error;
    return Pt::fileStatus(path, error).has_value();
}

bool isFile(const fs::path& path)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path.string(), error);
    return status && status->kind == Pt::FileStatus::Kind::kRegular;
}

bool isRawFile(const fs::path& path)
{
    const std::string extension = path.extension().string();
    return extension != ".dng" && !extension.empty()
        && mediaKind(extension.substr(1)) == MediaKind::kRaw && isFile(path);
}

// What the conversion library was writing: it has its name when it is whole.
bool isHalfWritten(const fs::path& path)
{
    return path.filename().string().starts_with(".unfinished-");
}

// A DNG beside the raw file that it was to replace, or one whose raw file is back in its place,
// since the conversion failed: the raw file is whole, the DNG may not be.
bool isUnfinishedConversion(
    const fs::path& path, const std::vector<fs::path>& files, const std::vector<fs::path>& standing)
{
    if (path.extension() != ".dng")
        return false;
    const auto isSetAside = [&path](const fs::path& other) {
        return other.stem() == path.stem() && other != path && other.extension() != ".xmp";
    };
    const auto isBack = [&path](const fs::path& other) {
        return other.stem() == path.stem() && isRawFile(other);
    };
    return std::any_of(files.begin(), files.end(), isSetAside)
        || std::any_of(standing.begin(), standing.end(), isBack);
}

// Somebody removes the empty folder while we make it: it is gone, or stood there when we made it
// and does not when we look at it.
bool isPassing(const std::error_code& error)
{
    return error == std::errc::no_such_file_or_directory || error == std::errc::file_exists;
}

std::vector<fs::path> entriesOf(const std::string& folder)
{
    std::error_code error;
    std::vector<fs::path> entries;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        entries.push_back(it->path());
    return entries;
}

} // namespace

WorkFolder::WorkFolder(std::string finalFolder)
    : m_finalFolder(std::move(finalFolder))
    , m_path(m_finalFolder + '/' + kName)
    , m_marks(m_finalFolder, m_path)
{
}

// Whoever is at work in the folder shares the lock on it. Who has it alone knows that all that lies
// in it was left by a run that was cut off. Raw files are marked whatever is asked for: where
// nobody awaits their conversion, the marks go once all is in its place.
std::vector<std::string> WorkFolder::recover(std::error_code& error, CutOffConversions conversions)
{
    error.clear();
    std::error_code lockError;
    const auto alone = Pt::FolderLock::takeAlone(m_path, lockError);
    if (!alone) // not there, or somebody is at work in it
        return {};
    const std::vector<fs::path> entries = entriesOf(m_path);
    // Until we had the lock, others may have removed the folder and made another, in which they
    // work now. While something lies in ours, nobody can.
    if (!alone->stillNames(m_path))
        return {};
    std::vector<std::string> restored = clear(entries, error);
    if (conversions == CutOffConversions::kAwaited)
        m_unconverted = m_marks.names();
    else
        m_marks.removeAll();
    m_marks.leave();
    std::error_code ignored; // not empty: what could not be put back is still in it
    fs::remove(m_path, ignored);
    return restored;
}

// Removes what is a copy, and puts back what may be the only one: a raw file whose DNG is not
// whole. Both lists are made before the first file is moved, for the fate of a DNG depends on which
// files lie beside it.
std::vector<std::string> WorkFolder::clear(
    const std::vector<fs::path>& entries, std::error_code& error) const
{
    std::vector<fs::path> files;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(files), isFile);
    const std::vector<fs::path> standing =
        entries.empty() ? std::vector<fs::path>() : entriesOf(m_finalFolder);
    std::vector<std::string> restored;
    for (const fs::path& entry : entries) {
        std::error_code step;
        if (isOwnLeftover(entry))
            removeLeftover(entry, m_finalFolder, step);
        else if (!isFile(entry))
            continue; // none of ours
        else if (isHalfWritten(entry) || isUnfinishedConversion(entry, files, standing))
            fs::remove(entry, step);
        else if (const std::string back = putBack(entry, step); !step)
            restored.push_back(back);
        if (step)
            error = step;
    }
    return restored;
}

std::vector<std::string> WorkFolder::putBackSetAside(std::error_code& error) const
{
    error.clear();
    std::vector<fs::path> files = entriesOf(m_path);
    std::erase_if(files, [](const fs::path& entry) { return !isFile(entry); });
    return files.empty() ? std::vector<std::string>() : clear(files, error);
}

bool WorkFolder::hasSetAside(const std::string& name) const
{
    return isFile(m_path + "/" + name);
}

// A file that a conversion set aside goes back under its name, or under a numbered form of it,
// which is returned. The mark is made first: between the two steps, the process may be killed.
std::string WorkFolder::putBack(const fs::path& from, std::error_code& error) const
{
    constexpr std::uint64_t kForms = 10000;
    const std::string stem = from.stem().string();
    const std::string extension = from.extension().string();
    const bool isMarked = isRawFile(from);
    std::string name;
    for (std::uint64_t number = 0; number < kForms; ++number) {
        name = numberedStem(stem, number) + extension;
        const std::string to = m_finalFolder + '/' + name;
        if (stands(to))
            continue;
        if (isMarked)
            m_marks.add(name);
        error = Pt::moveWithoutReplacing(from.string(), to);
        if (error != std::errc::file_exists)
            break;
        m_marks.remove(name); // somebody took the name meanwhile
    }
    return name;
}

// The marker lies in an item folder, which the next run removes if this one is killed. In the final
// folder itself, an empty file with a name of chance would stay for good.
std::error_code WorkFolder::layMarker(const std::string& marker, bool withJournal)
{
    std::error_code error;
    const auto folder = makeItemFolder(error);
    if (!folder)
        return error;
    m_markerBelow = folder->substr(m_finalFolder.size() + 1) + '/' + marker;
    error = Pt::makeEmptyFile(*folder + '/' + marker);
    if (!error && withJournal)
        Pt::makeEmptyFile(Pt::nameJournalPath(m_path)); // without one, leftovers stay
    return error;
}

std::string WorkFolder::trialFolder() const
{
    return m_markerBelow.empty()
        ? m_finalFolder
        : fs::path(m_finalFolder + '/' + m_markerBelow).parent_path().string();
}

// Makes the folder and shares the lock on it, until both are of one and the same folder: between
// the two steps, a run that leaves may remove the empty folder. A lock on a folder without a name
// would protect nothing, for the next run makes another and finds that one without a lock.
std::error_code WorkFolder::enter()
{
    if (m_share && m_share->stillNames(m_path))
        return {};
    std::error_code error;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        m_share.reset();
        fs::create_directory(m_path, error);
        if (error && !isPassing(error))
            return error;
        m_share = Pt::FolderLock::share(m_path, error);
        if (m_share && m_share->stillNames(m_path))
            return {};
        if (!m_share && !isPassing(error))
            return error;
    }
    return error ? error : std::make_error_code(std::errc::resource_unavailable_try_again);
}

std::optional<std::string> WorkFolder::makeItemFolder(std::error_code& error)
{
    Pt::Locked locked(m_lock);
    if (auto idle = takeIdleFolder())
        return idle;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        error = enter();
        if (error)
            return std::nullopt;
        const std::string path =
            m_path + '/' + std::to_string(Pt::processId()) + '-' + std::to_string(++m_counter);
        const bool made = fs::create_directory(path, error);
        if (made && m_share->stillNames(m_path))
            return path;
        if (made) { // in a folder that another made meanwhile, on which we have no lock
            fs::remove(path, error);
            continue;
        }
        // There already: left by a process of the same number, while another was at work.
        if (!error)
            --attempt;
        else if (!isPassing(error))
            return std::nullopt;
    }
    error = std::make_error_code(std::errc::resource_unavailable_try_again);
    return std::nullopt;
}

// One that a group is done with: a new folder may take a file system longer than a small file does.
// Nothing where none is left that is empty and under our lock.
std::optional<std::string> WorkFolder::takeIdleFolder()
{
    while (!m_idle.empty()) {
        std::string path = std::move(m_idle.back());
        m_idle.pop_back();
        std::error_code gone; // somebody may have taken it away, or put something into it
        if (m_share && m_share->stillNames(m_path) && fs::is_empty(path, gone) && !gone)
            return path;
    }
    return std::nullopt;
}

void WorkFolder::releaseItemFolder(const std::string& itemFolder)
{
    Pt::Locked locked(m_lock);
    m_idle.push_back(itemFolder);
}

void WorkFolder::dropItemFolder(const std::string& itemFolder)
{
    std::error_code ignored; // what cannot be removed now is removed by the next run
    fs::remove_all(itemFolder, ignored);
}

// The lock goes last: without it, another run would take what is still here for leftovers.
void WorkFolder::leave()
{
    Pt::Locked locked(m_lock);
    std::error_code ignored; // not empty: somebody else is at work
    for (const std::string& itemFolder : m_idle)
        fs::remove(itemFolder, ignored);
    m_idle.clear();
    if (m_share && !m_markerBelow.empty())
        fs::remove_all(fs::path(m_finalFolder + '/' + m_markerBelow).parent_path(), ignored);
    if (m_share && m_share->stillNames(m_path)) {
        m_marks.leave();
        fs::remove(m_path, ignored);
    }
    m_share.reset();
}

} // namespace mfx
