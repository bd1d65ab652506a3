// Whether card, target and backup are places of their own, whatever they are called and however
// they are mounted, and whether they stay where they were. A picture that was "copied" onto itself
// is lost when the original is deleted; one that was "backed up" beside itself has one copy.
//
// Folders are told apart by device and inode and by a marker: an empty file with a name of chance
// in the run's own folder, looked for on every other way. Base folders are held open, and work in
// them goes through the descriptors. Borrows the card. After `open`, any thread may ask.
#pragma once

#include "mfx/engine/card/CardScan.h"
#include "mfx/engine/saving/CardRoom.h"
#include "mfx/engine/saving/WorkFolder.h"
#include "platform/common/files/HeldFolder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

namespace mfx {

// Two places that must not be one; the text names both.
class PlaceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How one folder stands to another place.
enum class Kinship : std::uint8_t {
    kApart,
    kSameDevice, // folders of their own on one device, or on one disk
    kSameName, // the same folder, and called so
    kAlias, // the same folder under another name
};

struct FolderKinship {
    Kinship toCard = Kinship::kApart;
    Kinship toBackup = Kinship::kApart;
    std::string cardFolder; // where it lies on the card, if it was seen there
};

class PlaceWatch {
public:
    PlaceWatch(const CardContents& card,
        std::string target,
        std::optional<std::string> backup,
        bool looksOnly);

    // Holds the folders, which exist, lays the marker in the backup folder, and compares backup and
    // card. Throws PlaceError, and std::system_error when a folder cannot be used. With
    // `looksOnly`, nothing is made, and only device and inode are compared.
    void open();

    // The file name of the marker, for the work folders of final folders.
    const std::string& marker() const { return m_marker; }

    // Base paths for work of this process's own.
    std::string targetOwnPath() const { return ownPath(m_target, m_targetPath); }
    std::string backupOwnPath() const { return ownPath(m_backup, m_backupPath.value_or("")); }
    // Where a file may be made for a moment in the backup's file system; cleared after a kill.
    std::string backupTrialFolder() const;
    const std::optional<std::string>& backupPath() const { return m_backupPath; }

    // A path below one of these as one that people understand.
    std::string nameOf(const std::string& ownPathBelow) const;

    // How a final folder stands to card and backup. `path` is its name, `ownPath` leads to it for
    // sure, `work` has laid its marker.
    // `known` is what a former look found; what took trials is not tried again.
    FolderKinship kinshipOf(const std::string& path,
        const std::string& ownPath,
        const WorkFolder& work,
        const FolderKinship* known = nullptr) const;

    // Whether what the backup's file system says of a file can be believed.
    bool backupKeepsOwnFiles() const { return m_backupKeepsOwnFiles; }

    // How the backup folder stands to the card.
    FolderKinship backupKinship() const;

    // The same question once, with trials where devices say nothing.
    bool isBackupOnCardsDevice() const;

    // What to tell of a final folder that must not be used; nothing where it may.
    std::optional<std::string> objectionTo(
        const std::string& path, const FolderKinship& kinship) const;

    // Why the run cannot go on: a base folder is no longer where it was. Nothing while all is well.
    std::optional<std::string> lostPlace() const;

    // Whether the backup folder is where it was.
    bool isBackupThere() const;

    // Gives the run's folder in the backup back.
    void leave();

private:
    static std::string ownPath(
        const std::optional<Pt::HeldFolder>& held, const std::string& otherwise);
    Kinship kinshipToCard(const std::string& path,
        const std::string& ownPath,
        const std::string& markerBelow,
        std::string& cardFolder) const;
    Kinship kinshipToBackup(
        const std::string& path, const std::string& ownPath, const WorkFolder& work) const;
    void openBackup();
    bool isCardFolder(std::uint32_t folder,
        const std::optional<Pt::FileStatus>& status,
        const std::string& markerBelow) const;
    bool isBackup(const std::string& ownPath, const WorkFolder& work) const;
    bool holdsItems(std::uint32_t folder) const;
    Kinship withTrial(Kinship kinship, const std::string& folder) const;
    bool isSeenAboveCard(const std::string& path, const std::string& markerBelow) const;

    const CardContents& m_card;
    const std::string m_targetPath;
    const std::optional<std::string> m_backupPath;
    const bool m_looksOnly;
    const std::string m_marker;
    const CardRoom m_cardRoom;
    std::optional<Pt::HeldFolder> m_target;
    std::optional<Pt::HeldFolder> m_backup;
    std::unique_ptr<WorkFolder> m_backupWork; // none where the backup names the target
    std::set<std::string> m_backupDisks;
    bool m_backupKeepsOwnFiles = true;
};

} // namespace mfx
