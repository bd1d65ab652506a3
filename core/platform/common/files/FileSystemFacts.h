// What is known of the file system behind a path: which disks it lies on, and whether what it says
// of its files can be believed. Any thread may call; the calls may block on the disk.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace Pt {

// Names of the whole disks behind a path, such as "sda", partitions and layers between resolved; a
// file system that lies on no disk has a name of its own. Two paths that share a name may be lost
// together. Empty when the path cannot be asked.
std::set<std::string> disksOf(const std::string& path);

// Whether the file system keeps its files itself, on a disk or in memory. Others (pools, overlays,
// shares of other machines) may show a file that lies elsewhere, under numbers of their own.
bool keepsItsOwnFiles(const std::string& path);

// The file that a disk is the image of, by its numbers.
struct ImageFile {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend auto operator<=>(const ImageFile&, const ImageFile&) = default;
};

// Of a disk, by its device; nothing where it is no image.
std::optional<ImageFile> imageFile(std::uint64_t device);

// Whether what is written to a folder takes room from the file system of another, through whatever
// layers: writes a file of up to 2 MiB for a moment. Chance may say yes where others write in the
// same moments; it says no where it is so only if the file systems do not report their free room,
// or others make as much room in nearly all of these moments.
bool sharesRoom(const std::string& folder, const std::string& other);

enum class LetterTest { kLooksOnly, kMakesFiles };

// The first character of a file name that the file system of a folder does not take, as UTF-8; of
// a blank or a dot at the end, that one. Nothing where all of them are taken, as far as is
// known: some file systems say so only when a file is made, which the test then does for a moment.
std::optional<std::string> refusedLetter(
    const std::string& folder, const std::string& name, LetterTest test = LetterTest::kLooksOnly);

} // namespace Pt
