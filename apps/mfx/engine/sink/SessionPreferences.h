// The choices of one run. They reach the plug-in through a copy of the preference store that lives
// as long as the run: the user's own store stays as it is unless the choices are to be remembered.
//
// Sets MFX_APPLICATION_DATA for this process, and MFX_USER_DATA to the folder that it covers, so it
// is made before the plug-in is loaded and before any thread is started. One at a time, on the
// program's main thread.
#pragma once

#include "mfx/engine/sink/PreferenceClient.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mfx {

// What the command line says; what it leaves open comes from the store.
struct Choices {
    std::optional<std::string> backupFolder; // absolute
    bool makesNoBackup = false; // not with a folder
    bool deletesOriginals = false;
    std::optional<bool> opensBrowser;
    std::optional<bool> convertsToDNG;
    std::optional<int> dngPreview; // 0 none, 1 medium, 2 full
    bool dngUncompressed = false;
    bool dngLinear = false;
    bool dngEmbedRaw = false;
};

class SessionPreferences {
public:
    // `storeFolder` is the store that the run starts from, or nothing for none. Throws
    // SystemPartError without the store's library, std::system_error when there is no room for the
    // copy.
    SessionPreferences(const std::string& libraryPath,
        const std::optional<std::string>& storeFolder,
        const Choices& choices);
    SessionPreferences(const SessionPreferences&) = delete;
    SessionPreferences& operator=(const SessionPreferences&) = delete;

    // False when the store that the run starts from is there and cannot be read: what was
    // remembered in it, a backup folder perhaps, does not hold in this run.
    bool startedWhole() const { return m_startedWhole; }

    // Where backups go in this run, if they are made at all.
    std::optional<std::string> backupFolder() const { return m_backupFolder; }

    // The number with which {seq} begins.
    std::uint64_t firstSequence() const { return m_firstSequence; }

    // Writes this run's choices into the store that it started from. False when that failed.
    bool remember(const std::string& target, std::uint64_t nextSequence);

    // The user's store, or the one in a folder given on the command line.
    static std::string userStoreFolder();
    static std::string storeFolderIn(const std::string& folder);

private:
    using Values = std::vector<std::pair<std::string, std::string>>;

    // Made empty, and removed with all that is in it.
    struct Folder {
        Folder();
        ~Folder();
        Folder(const Folder&) = delete;
        Folder& operator=(const Folder&) = delete;

        const std::string path;
    };

    std::unique_ptr<PreferenceClient> openCopy(const std::string& store);
    static Values chosenValues(const Choices& choices);
    void write(PreferenceClient& client, const Values& values);
    void readBack(PreferenceClient& client);

    const std::string m_libraryPath;
    const std::optional<std::string> m_storeFolder;
    const Values m_values;
    const Folder m_session;
    bool m_startedWhole = true;
    std::optional<std::string> m_backupFolder;
    std::uint64_t m_firstSequence = 1;
};

} // namespace mfx
