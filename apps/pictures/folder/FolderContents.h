// What a folder shows to people: its pictures, each with the files that belong to it.
//
// Files of one folder that share a stem are one group: a raw file with its JPEG, a live photo's
// movie, a movie's THM, sidecars named "a.xmp" or "a.raw.xmp". Hidden files are left out. A folder
// without pictures of its own, such as the target of a download by days, shows those of the folders
// below, down to kDepth; links to folders are not followed. Read-only; blocks for as long as the
// disk takes; any thread may call.
#pragma once

#include "pictures/folder/PictureKind.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <vector>

namespace pictures {

inline constexpr int kDepth = 3; // folders below that are looked into

struct PictureGroup {
    QString name; // below the folder, of the file that is shown: an image that is quick to read,
                  // else raw, else movie
    PictureKind kind = PictureKind::kNone;
    QStringList companions; // names of the other files, sorted
    qint64 bytes = -1; // of the shown file; -1 as long as it was not looked at
    qint64 modified = 0; // nanoseconds since 1970, likewise

    friend bool operator==(const PictureGroup&, const PictureGroup&) = default;
};

struct FolderContents {
    QString folder; // absolute
    std::vector<PictureGroup> groups; // by name, as people sort: "img9" before "img10"
    QString problem; // why the folder could not be read, or not to its end; empty when it could

    friend bool operator==(const FolderContents&, const FolderContents&) = default;
};

// Names alone: sizes and times stay unknown. Quick, also for folders of many thousands.
FolderContents listFolder(const QString& folder, const std::atomic<bool>* cancelled = nullptr);

// Looks at the shown file of each group. Files that are gone by now are left out.
void addFileStatus(FolderContents& contents, const std::atomic<bool>* cancelled = nullptr);

} // namespace pictures
