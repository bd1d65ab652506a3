// Where downloads have put second copies: which backup folder goes with which folder of pictures.
// A download notes it; the browser looks there for a picture's second copy.
//
// The notes are "mfx/copy-places.json" in the user's state folder, a list of objects with
// "pictures" and "backup", the latest first. Free of Qt. Any thread may call; the calls block on
// the disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace copies {

struct CopyPlaces {
    std::string pictures; // absolute, without a slash at the end
    std::string backup; // likewise

    friend bool operator==(const CopyPlaces&, const CopyPlaces&) = default;
};

// Older ones are forgotten.
inline constexpr std::size_t kMaxPlaces = 50;

// Puts the pair to the front. Losing the note costs nothing but a line in the browser, so a process
// waits for others that write no longer than a second.
std::error_code notePlaces(const CopyPlaces& places);

// None where there are no notes, or they cannot be read.
std::vector<CopyPlaces> notedPlaces();

// The file in a noted backup folder that has the picture's name and the same bytes. Reads both
// whole, where size and name agree.
std::optional<std::string> secondCopyOf(const std::string& path);

} // namespace copies
