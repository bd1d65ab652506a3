#include "mfx/engine/card/CardScan.h"

#include "mfx/engine/card/AsideFolder.h"
#include "mfx/engine/card/NameChoice.h"
#include "mfx/engine/card/PictureSearch.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FileSystemFacts.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <numeric>
#include <optional>
#include <set>
#include <tuple>
#include <utility>

namespace mfx {

namespace {

using Kind = Pt::FileStatus::Kind;

constexpr auto kSystemFolders = std::to_array<std::string_view>({".Trashes",
    ".Spotlight-V100",
    ".fseventsd",
    "__MACOSX",
    "THMBNL",
    "System Volume Information",
    "$RECYCLE.BIN",
    "LOST.DIR",
    ".mfxdownload",
    ".mfxdelete"});
constexpr auto kJunkFiles =
    std::to_array<std::string_view>({"Thumbs.db", "desktop.ini", ".DS_Store"});

template <typename Names>
bool isOneOf(std::string_view name, const Names& names)
{
    return std::any_of(names.begin(), names.end(), [name](std::string_view other) {
        return Pt::equalIgnoringAsciiCase(name, other);
    });
}

bool isSystemFolder(std::string_view name)
{
    // .Trash, .Trash-1000, .Trashes: one per user and system
    return Pt::equalIgnoringAsciiCase(name.substr(0, 6), ".Trash") || isOneOf(name, kSystemFolders);
}

bool isJunkFile(std::string_view name)
{
    return name.substr(0, 2) == "._" || isOneOf(name, kJunkFiles);
}

std::optional<NotHandledReason> reasonByKind(Kind kind)
{
    switch (kind) {
    case Kind::kRegular:
    case Kind::kFolder:
        return std::nullopt;
    case Kind::kLink:
        return NotHandledReason::kLink;
    case Kind::kSocket:
        return NotHandledReason::kSocket;
    case Kind::kPipe:
        return NotHandledReason::kPipe;
    case Kind::kDevice:
        return NotHandledReason::kDevice;
    case Kind::kOther:
        break;
    }
    return NotHandledReason::kOther;
}

// Why this entry is passed over; nothing if it is taken or entered.
std::optional<NotHandledReason> reasonAgainst(std::string_view name, Kind kind)
{
    if (const auto reason = reasonByKind(kind))
        return reason;
    if (kind == Kind::kFolder && isSystemFolder(name))
        return NotHandledReason::kSystemFolder;
    if (kind == Kind::kRegular && isJunkFile(name))
        return NotHandledReason::kJunkFile;
    return name.front() == '.' ? std::optional(NotHandledReason::kHidden) : std::nullopt;
}

// Two names of one file: a rename that is made of link and unlink was killed between the two.
bool isOneFile(const std::string& a, const std::string& b)
{
    std::error_code error;
    return std::filesystem::equivalent(a, b, error) && !error;
}

// The path of a name in a folder of the card, whose own folder is the empty text.
std::string below(const std::string& folder, const std::string& name)
{
    return folder.empty() ? name : folder + '/' + name;
}

std::vector<std::string> entryNames(const std::string& folder, std::error_code& error)
{
    std::vector<std::string> names;
    std::filesystem::directory_iterator entry(folder, error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        names.push_back(entry->path().filename().native());
        entry.increment(error);
    }
    return names;
}

template <typename Entries>
void arrange(Entries& entries, const std::vector<std::uint32_t>& place)
{
    for (auto& entry : entries)
        entry.folder = place[entry.folder];
    std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
        return std::tie(a.folder, a.name) < std::tie(b.folder, b.name);
    });
    entries.shrink_to_fit();
}

class Scan {
public:
    Scan(CardContents& contents, const ScanOptions& options)
        : m_contents(contents)
        , m_options(options)
    {
    }

    void run();

private:
    void enterRoot(const Pt::FileStatus& root);
    void list(std::uint32_t folder);
    std::vector<std::string> namesIn(std::uint32_t folder);
    void putBack(std::uint32_t folder);
    FoundPictures picturesAt(const std::string& path, Kind kind) const;
    void passOver(std::uint32_t folder, std::string name, NotHandledReason reason, Kind kind);
    void take(std::uint32_t folder, std::string name, const NameChoice& choice);
    void leaveOut(std::uint32_t folder, std::string name);
    void enter(std::uint32_t folder, std::string name, const Pt::FileStatus& status);
    bool mustStop();
    std::vector<std::uint32_t> sortedPlaces() const;
    void sort();

    CardContents& m_contents;
    const ScanOptions& m_options;
    std::vector<std::uint32_t> m_pending; // folders still to be listed
    std::set<std::pair<std::uint64_t, std::uint64_t>> m_entered; // device and inode
};

void Scan::enterRoot(const Pt::FileStatus& root)
{
    m_entered.emplace(root.device, root.inode);
    m_contents.folders.emplace_back();
    m_contents.folderIds.push_back({root.device, root.inode, 0});
    m_contents.keepsOwnFiles = Pt::keepsItsOwnFiles(m_contents.root);
    m_pending.push_back(0);
}

// A stack instead of a recursion: how deep folders lie is up to whoever made the card.
void Scan::run()
{
    const auto root = Pt::fileStatus(m_contents.root, m_contents.rootError);
    if (!root)
        return;
    enterRoot(*root);
    while (!m_pending.empty() && !mustStop()) {
        const std::uint32_t folder = m_pending.back();
        m_pending.pop_back();
        list(folder);
    }
    sort();
}

bool Scan::mustStop()
{
    m_contents.stopped = m_contents.stopped || (m_options.stop != nullptr && *m_options.stop);
    return m_contents.stopped;
}

// The names come first, so that what is entered does not depend on the order of the directory.
void Scan::list(std::uint32_t folder)
{
    std::vector<std::string> names = namesIn(folder);
    if (m_options.putsBack && std::find(names.begin(), names.end(), kAsideFolder) != names.end()) {
        putBack(folder);
        names = namesIn(folder);
    }
    std::sort(names.begin(), names.end());
    const NameChoice choice(m_options.only, names);
    for (std::string& name : names) {
        if (mustStop())
            return;
        take(folder, std::move(name), choice);
    }
}

// What was listed before an error is kept: of a damaged directory, half of the pictures are better
// than none. The error is noted, and keeps the card from being called safe.
std::vector<std::string> Scan::namesIn(std::uint32_t folder)
{
    const std::string path = m_contents.folderPath(folder);
    std::error_code error;
    std::vector<std::string> names = entryNames(path, error);
    if (error) {
        m_contents.problems.push_back({path, error});
        if (folder == 0)
            m_contents.rootError = error;
    }
    return names;
}

// What cannot go back stays, and is found again as pictures in a folder that is passed over.
void Scan::putBack(std::uint32_t folder)
{
    const std::string path = m_contents.folderPath(folder);
    const std::string aside = path + '/' + kAsideFolder;
    std::error_code error;
    std::filesystem::directory_iterator entry(aside, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::string back = path + '/' + entry->path().filename().native();
        if (isOneFile(entry->path().native(), back))
            Pt::unlinkPath(entry->path().native()); // killed on the way, with both names
        else if (!Pt::moveWithoutReplacing(entry->path().native(), back))
            m_contents.putBack.push_back(back);
    }
    std::filesystem::remove(aside, error);
}

// By the status of the name itself, never through a link: what a link leads to is listed where it
// lies, or is not on the card.
void Scan::take(std::uint32_t folder, std::string name, const NameChoice& choice)
{
    const std::string path = m_contents.folderPath(folder) + '/' + name;
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    if (!status) {
        m_contents.problems.push_back({path, error});
    } else if (const auto reason = reasonAgainst(name, status->kind)) {
        passOver(folder, std::move(name), *reason, status->kind);
    } else if (status->kind == Kind::kFolder) {
        enter(folder, std::move(name), *status);
    } else if (choice.takes(name)) {
        m_contents.items.push_back({std::move(name), *status, folder});
        ++m_contents.folderIds[folder].items;
    } else {
        leaveOut(folder, std::move(name));
    }
}

// By path, so that a later look at the card does not take it for a picture that came meanwhile.
void Scan::leaveOut(std::uint32_t folder, std::string name)
{
    ++m_contents.notAskedFor;
    const std::string& below = m_contents.folders[folder];
    m_contents.leftOut.insert(below.empty() ? std::move(name) : below + '/' + name);
}

// Pictures are looked for by their first bytes, too: systems that repair a card or empty a trash
// name them as they like.
FoundPictures Scan::picturesAt(const std::string& path, Kind kind) const
{
    if (kind == Kind::kFolder)
        return picturesBelow(m_contents.root, path);
    if (kind == Kind::kRegular && isPicture(m_contents.root + '/' + path))
        return {{path}, 1};
    return {};
}

void Scan::passOver(std::uint32_t folder, std::string name, NotHandledReason reason, Kind kind)
{
    NotHandled entry{std::move(name), folder, reason, {}, 0};
    const std::string path = below(m_contents.folders[folder], entry.name);
    FoundPictures found = picturesAt(path, kind);
    if (kind == Kind::kRegular && found.count != 0 && reason == NotHandledReason::kJunkFile)
        entry.reason = NotHandledReason::kHidden; // a picture with the name of a system's file
    entry.pictures = std::move(found.names);
    entry.pictureCount = found.count;
    m_contents.notHandled.push_back(std::move(entry));
}

// Each folder once, by device and inode: a folder that is bound to a place below itself would have
// no end, and pictures that are listed twice would be saved twice.
void Scan::enter(std::uint32_t folder, std::string name, const Pt::FileStatus& status)
{
    if (!m_entered.emplace(status.device, status.inode).second) {
        m_contents.notHandled.push_back(
            {std::move(name), folder, NotHandledReason::kSameFolder, {}, 0});
        return;
    }
    m_pending.push_back(static_cast<std::uint32_t>(m_contents.folders.size()));
    m_contents.folders.push_back(below(m_contents.folders[folder], name));
    m_contents.folderIds.push_back({status.device, status.inode, 0});
    if (status.device != m_contents.folderIds[folder].device) {
        m_contents.keepsOwnFiles = m_contents.keepsOwnFiles
            && Pt::keepsItsOwnFiles(m_contents.root + '/' + m_contents.folders.back());
    }
}

// The places that the folders get when they are sorted, by their present ones.
std::vector<std::uint32_t> Scan::sortedPlaces() const
{
    const auto& folders = m_contents.folders;
    std::vector<std::uint32_t> order(folders.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(
        order.begin(), order.end(), [&folders](auto a, auto b) { return folders[a] < folders[b]; });
    std::vector<std::uint32_t> place(order.size());
    for (std::uint32_t i = 0; i < order.size(); ++i)
        place[order[i]] = i;
    return place;
}

// Bytewise, and the same on each run: the order of a directory is that in which files were made, or
// of hashes, and numbers are given to pictures in the order of this list. Entries refer to folders
// by their index, so that these move together.
void Scan::sort()
{
    const std::vector<std::uint32_t> place = sortedPlaces();
    std::vector<std::string> folders(place.size());
    std::vector<CardFolderId> ids(place.size());
    for (std::uint32_t folder = 0; folder < place.size(); ++folder) {
        folders[place[folder]] = std::move(m_contents.folders[folder]);
        ids[place[folder]] = m_contents.folderIds[folder];
    }
    m_contents.folders = std::move(folders);
    m_contents.folderIds = std::move(ids);
    arrange(m_contents.items, place);
    arrange(m_contents.notHandled, place);
}

} // namespace

std::string CardContents::folderPath(std::uint32_t folder) const
{
    return folders[folder].empty() ? root : root + '/' + folders[folder];
}

std::string CardContents::pathBelow(const MediaItem& item) const
{
    return folders[item.folder].empty() ? item.name : folders[item.folder] + '/' + item.name;
}

std::string CardContents::pathOf(const MediaItem& item) const
{
    return folderPath(item.folder) + '/' + item.name;
}

std::size_t CardContents::harmfulNotHandled() const
{
    const auto count = std::count_if(notHandled.begin(),
        notHandled.end(),
        [](const NotHandled& entry) { return entry.mayHoldPhotos(); });
    return static_cast<std::size_t>(count);
}

CardContents scanCard(const std::string& source, const ScanOptions& options)
{
    CardContents contents;
    contents.root = std::filesystem::canonical(source, contents.rootError).native();
    if (contents.rootError) {
        contents.root = source;
        contents.problems.push_back({source, contents.rootError});
        return contents;
    }
    Scan(contents, options).run();
    return contents;
}

} // namespace mfx
