// Records that cross the contract. Each begins with a tag that says its kind and a size; the
// receiver tests both before it reads anything else. Sizes are fixed words of the contract: they
// stay as they are, however a build lays a record out, and are never `sizeof`.
//
// Constructors clear the text fields and set the starting values named here, but write neither
// tag nor size: whoever makes a record sets those two. Text is UTF-16 in host order, always
// zero-terminated inside its field. Fields have fixed widths and natural alignment.
#pragma once

#include <cstdint>

class IEnumArbitraryData;

// Base of all records.
struct CProp {
    std::uint32_t tag;
    std::uint32_t size;

protected:
    // Tag and size are the maker's to write. NOLINTNEXTLINE(*-member-init,*-equals-default)
    CProp() { }
};

inline constexpr std::uint32_t kFxTagSource = 2;
inline constexpr std::uint32_t kFxSizeSource = 3640;

// A source that can be opened: what IEnumSource::Next fills and ISinkEnumMediaItem::GetSource
// answers.
struct CPropSource : CProp {
    CPropSource() = default;

    unsigned short name[260] = {}; // what ISourceManager::CreateSource accepts
    unsigned short application[260] = {}; // the application's name
    unsigned short longName[1024] = {}; // the application's name
    unsigned short description[260] = {}; // the application's name
    std::uint32_t kind = 0; // the plug-in publishes 8
    std::uint32_t flags = 0; // the plug-in publishes 0
    unsigned char identifier[16] = {}; // the plug-in's identifier, as IFxPlugin::GetPluginUID
};

inline constexpr std::uint32_t kFxTagSinkMediaItem = 3;
inline constexpr std::uint32_t kFxSizeSinkMediaItem = 2104;

// One media item that the host has saved.
struct CPropSinkMediaItem : CProp {
    // lastWord is the maker's to set, to 0. NOLINTNEXTLINE(*-member-init,*-equals-default)
    CPropSinkMediaItem() { }

    std::int32_t itemKey = 0; // the host's handle; handed to the delete callback
    std::int32_t hostWord1 = 0; // the host's; not read by the plug-in
    std::int32_t hostWord2 = 0; // the host's; not read by the plug-in
    unsigned short deviceName[260] = {}; // name on the device, before any renaming
    unsigned short fileName[260] = {}; // name as saved in the target folder
    // Folder that holds the file now. While the host still works on the item it may lie below a
    // folder ".mfxdownload" of the target folder.
    unsigned short folder[260] = {};
    unsigned short hostText[260] = {}; // the host's; not read by the plug-in
    std::int32_t lastWord; // the maker sets it to 0
};

inline constexpr std::uint32_t kFxTagFileFormat = 4;
inline constexpr std::uint32_t kFxSizeFileFormat = 28;

// One file type that the sink takes.
struct CPropFileFormat : CProp {
    CPropFileFormat() = default;

    unsigned short extension[8] = {}; // without the dot, at most 7 characters; "*" is any
    std::uint32_t mediaMask = 0x10000000; // kFxMediaImage and its companions
};

inline constexpr std::uint32_t kFxSizeBuffer = 16;

// Buffer for IEnumArbitraryData::Next. The tag is neither set nor tested.
struct CPropBuffer : CProp {
    CPropBuffer() = default;

    // In: bytes wanted. After Next it is no count of what came: it is capped by what is left.
    std::uint32_t length = 0;
    unsigned char* buffer = nullptr; // the caller's, at least `length` bytes
};

inline constexpr std::uint32_t kFxTagUIControlOrder = 0;
inline constexpr std::uint32_t kFxSizeUIControlOrder = 16;

// Place of one of the host's standard controls in its dialogue.
struct CPropUIControlOrder : CProp {
    CPropUIControlOrder() = default;

    std::int32_t position = -1; // -1: not shown
    std::uint32_t controlId = 4;
};
