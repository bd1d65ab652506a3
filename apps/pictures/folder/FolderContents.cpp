#include "pictures/folder/FolderContents.h"

#include "pictures/folder/PathText.h"
#include "platform/common/files/FileStatus.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace pictures {

namespace fs = std::filesystem;

namespace {

bool isCancelled(const std::atomic<bool>* cancelled)
{
    return cancelled != nullptr && cancelled->load(std::memory_order_relaxed);
}

// Which file of a group is shown: the first kind here that it has.
int rank(PictureKind kind)
{
    switch (kind) {
    case PictureKind::kJpeg:
        return 0;
    case PictureKind::kOther:
        return 1;
    case PictureKind::kHeif:
        return 2;
    case PictureKind::kRaw:
        return 3;
    case PictureKind::kMovie:
        return 4;
    case PictureKind::kStillOfMovie:
    case PictureKind::kSidecar:
    case PictureKind::kNone:
        return 5;
    }
    return 5;
}

struct File {
    QString name;
    PictureKind kind = PictureKind::kNone;
};

// What one folder holds itself: its files, named from where the listing began, and folders.
struct Listing {
    std::vector<File> files;
    QStringList folders;
};

Listing listOne(const QString& folder,
    const QString& prefix,
    QString& problem,
    const std::atomic<bool>* cancelled)
{
    Listing listing;
    std::error_code error;
    fs::directory_iterator entry(pathBytes(folder), error);
    for (const fs::directory_iterator end; !error && entry != end && !isCancelled(cancelled);
         entry.increment(error)) {
        const QString name = pathText(entry->path().filename().string());
        if (name.startsWith(u'.'))
            continue;
        const PictureKind kind = kindOfName(name);
        std::error_code unknown; // what cannot be told is no picture
        if (kind != PictureKind::kNone && entry->is_regular_file(unknown))
            listing.files.push_back({prefix + name, kind});
        else if (entry->symlink_status(unknown).type() == fs::file_type::directory)
            listing.folders.push_back(name);
    }
    if (error)
        problem = QString::fromStdString(error.message());
    return listing;
}

bool hasPicture(const std::vector<File>& files)
{
    return std::ranges::any_of(files, [](const File& file) { return isPicture(file.kind); });
}

std::vector<File> filesBelow(const QString& folder,
    const QString& prefix,
    int depth,
    QString& problem,
    const std::atomic<bool>* cancelled)
{
    Listing listing = listOne(folder, prefix, problem, cancelled);
    const bool looksBelow = depth > 0 && (!prefix.isEmpty() || !hasPicture(listing.files));
    if (!looksBelow)
        return std::move(listing.files);
    for (const QString& name : listing.folders) {
        QString passedOver; // a folder below that cannot be read shows nothing
        std::vector<File> more = filesBelow(
            folder + u'/' + name, prefix + name + u'/', depth - 1, passedOver, cancelled);
        std::ranges::move(more, std::back_inserter(listing.files));
    }
    return std::move(listing.files);
}

QString stemOf(const File& file)
{
    QString stem = file.name.left(file.name.lastIndexOf(u'.'));
    // "a.raw.xmp" goes with "a.raw".
    if (file.kind == PictureKind::kSidecar && kindOfName(stem) != PictureKind::kNone)
        stem.truncate(stem.lastIndexOf(u'.'));
    return stem;
}

PictureGroup groupOf(std::vector<File>& files)
{
    std::ranges::sort(files, [](const File& a, const File& b) {
        return std::pair(rank(a.kind), a.name) < std::pair(rank(b.kind), b.name);
    });
    PictureGroup group;
    group.name = files.front().name;
    group.kind = files.front().kind;
    for (std::size_t i = 1; i < files.size(); ++i)
        group.companions.push_back(files[i].name);
    group.companions.sort();
    return group;
}

std::vector<PictureGroup> groupsOf(std::vector<File> files)
{
    std::unordered_map<QString, std::vector<File>> byStem;
    byStem.reserve(files.size());
    for (File& file : files)
        byStem[stemOf(file)].push_back(std::move(file));
    std::vector<PictureGroup> groups;
    groups.reserve(byStem.size());
    for (auto& [stem, members] : byStem) {
        PictureGroup group = groupOf(members);
        if (isPicture(group.kind))
            groups.push_back(std::move(group));
    }
    return groups;
}

// Keys are made once a name: comparing through the collator costs ten times as much.
void sortByName(std::vector<PictureGroup>& groups)
{
    // The C locale has no order but that of the codes.
    const QLocale locale;
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setNumericMode(true);
    std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
    keys.reserve(groups.size());
    for (std::size_t i = 0; i < groups.size(); ++i)
        keys.emplace_back(collator.sortKey(groups[i].name), i);
    std::ranges::sort(keys, [&](const auto& a, const auto& b) {
        const int order = a.first.compare(b.first);
        return order != 0 ? order < 0 : groups[a.second].name < groups[b.second].name;
    });
    std::vector<PictureGroup> sorted;
    sorted.reserve(groups.size());
    for (const auto& [key, index] : keys)
        sorted.push_back(std::move(groups[index]));
    groups = std::move(sorted);
}

} // namespace

FolderContents listFolder(const QString& folder, const std::atomic<bool>* cancelled)
{
    FolderContents contents{folder, {}, {}};
    contents.groups = groupsOf(filesBelow(folder, {}, kDepth, contents.problem, cancelled));
    sortByName(contents.groups);
    return contents;
}

void addFileStatus(FolderContents& contents, const std::atomic<bool>* cancelled)
{
    const std::string folder = pathBytes(contents.folder + u'/');
    std::erase_if(contents.groups, [&](PictureGroup& group) {
        if (isCancelled(cancelled))
            return false;
        std::error_code error;
        const auto status = Pt::fileStatus(folder + pathBytes(group.name), error);
        if (status) {
            group.bytes = static_cast<qint64>(status->size);
            group.modified = status->modified;
        }
        return !status && error == std::errc::no_such_file_or_directory;
    });
}

} // namespace pictures
