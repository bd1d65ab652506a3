// The folder ".mfxdownload" in a folder that is downloaded into. Each group is worked on in a
// folder of its own below it, ".mfxdownload/<process id>-<number>", and leaves it for its final
// place by a rename. A file in ".mfxdownload" itself is a raw file that a conversion has set aside.
//
// While a process works in it, it shares a lock on it. A process that gets the lock alone knows
// that whatever lies there was left by a crash: raw files go back to where they were, folders of
// groups go, and what is neither stays. One object serves one final folder; any thread may call it.
#pragma once

#include "mfx/engine/saving/UnconvertedMarks.h"
#include "platform/common/files/FolderLock.h"
#include "platform/common/threads/Lock.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace mfx {

// What is to become of conversions that were cut off.
enum class CutOffConversions {
    kGivenUp, // the raw files stay what they are
    kAwaited, // they are converted, by this run or a later one
};

class WorkFolder {
public:
    static constexpr char kName[] = ".mfxdownload";

    explicit WorkFolder(std::string finalFolder);
    ~WorkFolder() { leave(); }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    // Removes what a crash left, unless another process is at work here: folders of groups and of
    // runs, and the empty file that a killed process left where it tried a name. Returns the names
    // under which raw files were put back; an error stands for something that could be neither put
    // back nor removed, which then is still there.
    std::vector<std::string> recover(
        std::error_code& error, CutOffConversions conversions = CutOffConversions::kGivenUp);

    // Puts back what conversions have left here that were cut off, or that found the name taken
    // when they had failed; under which names. While this process works in the folder, and nobody
    // converts in it: with the lock on the final folder alone.
    std::vector<std::string> putBackSetAside(std::error_code& error) const;

    // Whether a conversion of this file has left something here that the next one would remove.
    bool hasSetAside(const std::string& name) const;

    // Remembers a raw file that is about to be placed and then converted, beyond the end of this
    // process. While it works in the folder.
    void awaitConversion(const std::string& name) const { m_marks.add(name); }

    // The raw files that earlier runs were to convert and did not come to, those among them that
    // were put back by `recover`. For the time behind it.
    bool isUnconverted(const std::string& name) const { return m_unconverted.contains(name); }

    // Its conversion was made, or failed: nobody awaits it any more.
    void forgetUnconverted(const std::string& name) const { m_marks.remove(name); }

    // Makes the run's own folder with an empty file of this name in it, by which the folder is
    // known on every way that leads to it; with a journal of tried names, where names will be
    // tried.
    std::error_code layMarker(const std::string& marker, bool withJournal = false);

    // From the final folder to the marker; empty while there is none.
    const std::string& markerBelow() const { return m_markerBelow; }

    // Where a file may be made for a moment, to see what the file system does: the run's own
    // folder, which is cleared after a kill; the final folder itself while there is none.
    std::string trialFolder() const;

    // Makes a new empty folder for one group; its path.
    std::optional<std::string> makeItemFolder(std::error_code& error);

    // Gives back a group's folder that is empty again: the next group gets it, since a file system
    // may take longer for a new folder than for a small file.
    void releaseItemFolder(const std::string& itemFolder);

    // Removes a group's folder with all that is left in it.
    void dropItemFolder(const std::string& itemFolder);

    // Lets go of ".mfxdownload", and removes it if this object worked in it and nothing is left in
    // it. Another object may still use it.
    void leave();

    const std::string& finalFolder() const { return m_finalFolder; }

private:
    std::vector<std::string> clear(
        const std::vector<std::filesystem::path>& entries, std::error_code& error) const;
    std::string putBack(const std::filesystem::path& from, std::error_code& error) const;
    std::error_code enter() TEVORO_REQUIRES(m_lock);
    std::optional<std::string> takeIdleFolder() TEVORO_REQUIRES(m_lock);

    const std::string m_finalFolder;
    const std::string m_path;
    const UnconvertedMarks m_marks;
    std::set<std::string> m_unconverted; // constant once the folder was recovered
    std::string m_markerBelow; // constant once it was laid
    Pt::Lock m_lock;
    std::optional<Pt::FolderLock> m_share TEVORO_GUARDED_BY(m_lock);
    std::vector<std::string> m_idle TEVORO_GUARDED_BY(m_lock); // empty item folders
    std::uint64_t m_counter TEVORO_GUARDED_BY(m_lock) = 0;
};

} // namespace mfx
