// One file on a card, and what its name says about it.
//
// A name is split at its last dot into stem and extension. It has no extension when there is no
// dot, when the only dot comes first or last, or when more than 32 bytes follow it. A sidecar may
// carry the extension of the file it belongs to: in X.EXT.xmp the extension is EXT.xmp if EXT is
// one to five letters or digits and is either the extension of a known kind of media or a file
// X.EXT lies beside it; so a.cr2.xmp has the stem a, my.trip.xmp has the stem my.trip.
#pragma once

#include "platform/common/files/FileStatus.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace mfx {

struct MediaItem {
    std::string name; // as the card has it: any bytes
    Pt::FileStatus status; // as listed
    std::uint32_t folder = 0; // index into the folders of the card's contents
};

// In the order in which the members of a group stand.
enum class MediaKind : std::uint8_t { kRaw, kImage, kMovie, kAudio, kOther, kSidecar };

// By extension, in either case; the last part of a chain decides.
MediaKind mediaKind(std::string_view extension);

// Whether it is that of a movie's thumbnail or small version: they are of the kind Other.
bool isMovieCompanion(std::string_view extension);

// The known extensions of a kind, lower case, separated by commas.
std::string extensionList(MediaKind kind);

// Whether a file of this name lies in the same folder.
using SiblingCheck = std::function<bool(std::string_view)>;

// Bytes of the stem. What follows it, after one dot, is the extension.
std::size_t stemLength(std::string_view name, const SiblingCheck& hasSibling);

} // namespace mfx
