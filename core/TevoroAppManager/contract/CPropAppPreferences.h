// The preferences record: what the host keeps of the user's choices between sessions, read by
// ISinkUtilHandler::GetPreferences and written by SetPreferences. Three generations, each
// extending the one before; only the last travels (tag 5, size word 5808).
//
// The five byte strings hang off the record as IEnumArbitraryData objects. A setter makes a new
// object and stores its pointer without releasing the old one; assignment shares the pointers and
// takes no reference. Whoever keeps the record in the end releases them, once each.
#pragma once

#include "TevoroAppManager/contract/CBuffEnumArbitraryData.h"
#include "TevoroAppManager/contract/FxRecords.h"
#include "TevoroAppManager/contract/IEnum.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

inline constexpr std::uint32_t kFxTagAppPreferences = 5;
inline constexpr std::uint32_t kFxSizeAppPreferences = 5808;

struct CPropAppPreferences : CProp {
    CPropAppPreferences() = default;

    unsigned short firstText[260] = {}; // unused by the store
    unsigned short location[260] = {}; // the folder of the last download
    bool firstFlag = true;
    std::uint32_t dontShowAgainFlags = 0; // messages the user has switched off
    unsigned char reservedBlock[4096] = {}; // never read, never assigned
    bool option1 = true; // the three options are the host's
    bool option2 = false;
    bool option3 = false;
    std::int32_t gridFilter = 7; // never assigned: the receiver's value stays
    std::int32_t secondInteger = 2;
    unsigned short reservedText[260] = {}; // never assigned
    std::int32_t createSubfoldersIndex = 3; // choice in the host's list of sub-folder rules
    std::int32_t renameIndex = 0; // choice in the host's list of renaming rules
    bool applyMetadataGroupOpen = true;
    bool customGroupOpen = true;
    std::int32_t quickViewerMode = 1;
    std::int32_t hostWords[4] = {}; // copied only
    bool hostFlag = false; // copied only
};

struct CPropAppPreferences2 : CPropAppPreferences {
    CPropAppPreferences2() = default;

    std::uint32_t templateNameLength = 0; // lengths count the terminator
    IEnumArbitraryData* templateName = nullptr;
    std::uint32_t authorNameLength = 0;
    IEnumArbitraryData* authorName = nullptr;
    std::uint32_t copyrightLength = 0;
    IEnumArbitraryData* copyright = nullptr;
    std::uint32_t spareLength = 0;
    IEnumArbitraryData* spare = nullptr;
    std::uint32_t mobileFolderLength = 0;
    IEnumArbitraryData* mobileFolder = nullptr;
    unsigned char reservedTail[24] = {}; // never assigned

    // The given length is ignored: the text counts up to its terminator, terminator included.
    void setApplyMetadataTemplateName(const char* text, std::uint32_t)
    {
        templateName = makeString(text, templateNameLength);
    }
    void setApplyMetadataAuthorName(const char* text, std::uint32_t)
    {
        authorName = makeString(text, authorNameLength);
    }
    void setApplyMetadataCopyright(const char* text, std::uint32_t)
    {
        copyright = makeString(text, copyrightLength);
    }
    void SetMobileFolderSetting(const char* text, std::uint32_t)
    {
        mobileFolder = makeString(text, mobileFolderLength);
    }

    // Empty when there is no string.
    std::string getApplyMetadataTemplateName() const { return readString(templateName); }
    std::string getApplyMetadataAuthorName() const { return readString(authorName); }
    std::string getApplyMetadataCopyright() const { return readString(copyright); }
    std::string GetMobileFolderSetting() const { return readString(mobileFolder); }

protected:
    static IEnumArbitraryData* makeString(const char* text, std::uint32_t& length)
    {
        length = static_cast<std::uint32_t>(std::strlen(text) + 1);
        return new CBuffEnumArbitraryData(text, length);
    }

    // Reads the enumerator from its start in pieces of 200 bytes; each piece counts up to its
    // first zero byte.
    static std::string readString(IEnumArbitraryData* source)
    {
        std::string text;
        if (!source)
            return text;
        source->Reset();
        for (;;) {
            unsigned char piece[201] = {};
            CPropBuffer record;
            record.size = kFxSizeBuffer;
            record.length = 200;
            record.buffer = piece;
            if (source->Next(&record) != kFxOk)
                return text;
            text.append(reinterpret_cast<const char*>(piece));
        }
    }
};

struct CPropAppPreferences3 : CPropAppPreferences2 {
    CPropAppPreferences3() = default;
    CPropAppPreferences3(const CPropAppPreferences3&) = default;

    std::uint32_t backdropColour = 0xffd2d2d2; // 0xAARRGGBB
    std::uint32_t textColour = 0xff646464; // 0xAARRGGBB
    std::int32_t renameSequenceNumber = 1;
    std::int32_t keepDeviceName = 0;
    IEnumArbitraryData* batchRename = nullptr;
    std::uint32_t batchRenameLength = 0;

    void setBatchRenamePreference(const char* text, std::uint32_t)
    {
        batchRename = makeString(text, batchRenameLength);
    }
    std::string getBatchRenamePreference() const { return readString(batchRename); }

    // Copies every field that holds data, but neither tag and size, nor the reserved fields, nor
    // the grid filter: that omission is part of the contract. The strings are shared.
    CPropAppPreferences3& operator=(const CPropAppPreferences3& other)
    {
        if (this != &other) {
            assignBase(other);
            assignStrings(other);
        }
        return *this;
    }

private:
    void assignBase(const CPropAppPreferences3& other)
    {
        std::copy_n(other.firstText, 260, firstText);
        std::copy_n(other.location, 260, location);
        firstFlag = other.firstFlag;
        dontShowAgainFlags = other.dontShowAgainFlags;
        option1 = other.option1;
        option2 = other.option2;
        option3 = other.option3;
        secondInteger = other.secondInteger;
        createSubfoldersIndex = other.createSubfoldersIndex;
        renameIndex = other.renameIndex;
        applyMetadataGroupOpen = other.applyMetadataGroupOpen;
        customGroupOpen = other.customGroupOpen;
        quickViewerMode = other.quickViewerMode;
        std::copy_n(other.hostWords, 4, hostWords);
        hostFlag = other.hostFlag;
    }

    void assignStrings(const CPropAppPreferences3& other)
    {
        templateNameLength = other.templateNameLength;
        templateName = other.templateName;
        authorNameLength = other.authorNameLength;
        authorName = other.authorName;
        copyrightLength = other.copyrightLength;
        copyright = other.copyright;
        spareLength = other.spareLength;
        spare = other.spare;
        mobileFolderLength = other.mobileFolderLength;
        mobileFolder = other.mobileFolder;
        backdropColour = other.backdropColour;
        textColour = other.textColour;
        renameSequenceNumber = other.renameSequenceNumber;
        keepDeviceName = other.keepDeviceName;
        batchRename = other.batchRename;
        batchRenameLength = other.batchRenameLength;
    }
};
