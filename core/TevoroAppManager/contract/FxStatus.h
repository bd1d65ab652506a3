// Status codes of the host contract. Operations that return a status return one of these unsigned
// 32-bit values: zero is success, a value with the top bit set is a failure. Callers test for the
// exact value where it matters. No exception ever leaves an operation of the contract.
#pragma once

#include <cstdint>

using FxStatus = std::uint32_t;

inline constexpr FxStatus kFxOk = 0x00000000; // success

// Post-processing of one item failed or the item is unusable; the download goes on.
inline constexpr FxStatus kFxWarnPostProcess = 0x40000001;

// Null buffer, item record of another size in DoPreProcessing, folder that cannot be made, launch
// refused, duplicate in a format list.
inline constexpr FxStatus kFxErrBadArgument = 0xc0000002;

inline constexpr FxStatus kFxErrNotSupported = 0xc0000003; // the sink does not offer this operation
inline constexpr FxStatus kFxErrNotImplemented = 0xc0000004; // this plug-in does not provide it
inline constexpr FxStatus kFxErrException = 0xc0000005; // an exception was caught inside
inline constexpr FxStatus kFxErrOutOfMemory = 0xc0000006; // an allocation gave null

// Wrong tag or size in a record, null argument, out-pointer already set, unknown source name.
inline constexpr FxStatus kFxErrBadRecord = 0xc000000a;

// EnumSources before Init; SetPreferences without a preference store.
inline constexpr FxStatus kFxErrNotInitialised = 0xc000000b;

inline constexpr FxStatus kFxErrNoUniqueName = 0xc4000004; // no free name in the backup folder
inline constexpr FxStatus kFxErrBackupFailed = 0xc4000005; // the user was told of the failed backup
inline constexpr FxStatus kFxEndOfList = 0xd0000001; // an enumerator has no further element
