// Enumerations and callbacks that appear in the operations of the contract. Enumerations are 32
// bits wide. Those without named values travel in operations that this plug-in refuses.
#pragma once

#include <cstdint>

enum eMediaItemType : std::int32_t {};
enum eUploadAction : std::int32_t {};
enum eSourceEventType : std::int32_t {};

// Whether a source pushes its items or has them pulled; the plug-in reports kFxCapPush.
enum eSourceManagerCap : std::int32_t { kFxCapPush = 1 };

// Whether a manager detects sources that come and go; the plug-in reports that it does not.
enum eSourceManagerDetectCap : std::int32_t { kFxDetectNone = 0 };

// Kinds of media in a format list, as bits.
inline constexpr std::uint32_t kFxMediaImage = 1;
inline constexpr std::uint32_t kFxMediaAudio = 2;
inline constexpr std::uint32_t kFxMediaVideo = 4;
inline constexpr std::uint32_t kFxMediaAnything = 8;

// Shows a text to the user while an item is worked on. UTF-16, zero-terminated, valid during the
// call. The plug-in always passes 0 as value and ignores the result. May be null.
using FxStatusTextCallback = unsigned long (*)(const unsigned short* text, long value);

// Does something with one item, named by its key (CPropSinkMediaItem::itemKey); leaves an outcome
// in the same variable: 0 done, 2 the device has gone, anything else refused. May be null. The
// plug-in reads the outcome from the variable and not from the result.
using FxPerItemCallback = bool (*)(long& key);
