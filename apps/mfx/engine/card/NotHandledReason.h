// Why something on a card was passed over. Plain functions; any thread may call them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mfx {

// In the order in which they are told.
enum class NotHandledReason : std::uint8_t {
    kDevice,
    kSameFolder, // a folder that was entered under another path already
    kHidden, // file or folder with a leading dot
    kPipe,
    kSocket,
    kLink,
    kJunkFile, // thumbnail caches and folder settings
    kSystemFolder, // trash, indexes and thumbnails of systems and cameras
    kOther
};

// For programs, such as "symbolic link": the same in every language.
std::string_view reasonWord(NotHandledReason reason);

// For people, in their language.
std::string reasonText(NotHandledReason reason);

// Whether what was passed over for this reason can hold no photo that would be missed.
bool isHarmless(NotHandledReason reason);

} // namespace mfx
