// The folders that a download saves into, each made and set right at its first use: what a crash
// left in its work folder is put back or removed, and the stems that stand there are noted.
// Any thread may call; objects stay at their place for the life of the collection.
#pragma once

#include "mfx/engine/dng/OriginalSizes.h"
#include "mfx/engine/names/NumberedFiles.h"
#include "mfx/engine/saving/PlaceWatch.h"
#include "mfx/engine/saving/WorkFolder.h"
#include "platform/common/threads/Lock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <vector>

namespace mfx {

// Stems of the files in one folder, so that a group does not take the stem of files that have
// nothing to do with it: a photo would seem to have a sidecar that is another's. One thread.
class StemRegister {
public:
    // Notes what stands in the folder now.
    void read(const std::string& folder);

    // By the name of any file with the stem.
    bool isTaken(std::string_view name) const;
    void take(std::string_view name);

private:
    std::unordered_set<std::uint64_t> m_hashes; // a wrong hit costs a number, never a file
};

struct FinalFolder {
    FinalFolder(std::string name, std::string way, std::optional<Pt::HeldFolder> folder)
        : path(std::move(name))
        , ownPath(std::move(way))
        , held(std::move(folder))
        , work(ownPath)
    {
    }

    // Whether its name leads to it still: a disk may be mounted on any folder.
    bool isAtItsPath() const { return !held || held->isAtItsPath(); }

    // What to tell when it does not.
    std::string lostText() const;

    // A path of this process's own as one that others understand too.
    std::string nameOf(const std::string& ownPathBelow) const
    {
        return path + ownPathBelow.substr(ownPath.size());
    }

    const std::string path; // for people, and for the sink
    const std::string ownPath; // for our own work: leads here whatever the path leads to by now
    const std::optional<Pt::HeldFolder> held; // none for a plan, and where it cannot be used
    WorkFolder work;
    StemRegister stems; // for the thread that moves files into place
    NumberedFiles numbered; // none without a pattern that numbers
    OriginalSizes originals; // of the DNGs among them
    FolderKinship kinship; // to card and backup
    bool keepsOwnFiles = true; // what its file system says of a file can be believed
    std::error_code error; // why the folder cannot be used
    std::string objection; // why it must not be used
};

class FinalFolders {
public:
    // Borrows the watch over the places, which is open. With `looksOnly`, nothing is made, put back
    // or removed. `conversions` that were cut off are those of raw files that are put back.
    FinalFolders(std::string target,
        const PlaceWatch& places,
        bool looksOnly = false,
        CutOffConversions conversions = CutOffConversions::kGivenUp);

    // Lists the numbered files of each folder at its first use. Before any is opened.
    void listNumbers(NumberMatcher allNames) { m_numbers = std::move(allNames); }

    // The folder `subfolder` of the target ("" is the target itself). Its error is set when it
    // cannot be used.
    FinalFolder& open(const std::string& subfolder);

    // Names of the raw files that were put back so far, each told once.
    std::vector<std::string> takeRestored();

    // Compares all folders that are in use with card and backup anew. What to tell of the first
    // that must not be used any more, if there is one.
    std::optional<std::string> compareAgain();

    // Calls for each folder that is in use.
    void forEach(const std::function<void(const FinalFolder&)>& call);

    // Leaves all work folders.
    void leave();

    // Makes the names of all files that were moved into place last: flushes the folders and those
    // above them, up to the target's own. The first error, if any.
    std::error_code flush();

private:
    std::unique_ptr<FinalFolder> make(const std::string& below) const;
    void prepare(FinalFolder& folder) TEVORO_REQUIRES(m_lock);
    void compare(FinalFolder& folder, const FolderKinship* known) const;
    void compareAgain(FinalFolder& folder) const;
    void noteNames(FinalFolder& folder) const;

    const std::string m_target;
    const PlaceWatch& m_places;
    const bool m_looksOnly;
    const CutOffConversions m_conversions;
    std::optional<NumberMatcher> m_numbers;
    Pt::Lock m_lock;
    std::map<std::string, std::unique_ptr<FinalFolder>> m_folders TEVORO_GUARDED_BY(m_lock);
    std::vector<std::string> m_restored TEVORO_GUARDED_BY(m_lock);
};

} // namespace mfx
