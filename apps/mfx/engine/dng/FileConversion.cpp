#include "mfx/engine/dng/FileConversion.h"

#include "ZQPluginSupport/ZQPluginSupport.h"
#include "mfx/engine/card/MediaItem.h"
#include "mfx/engine/dng/ConversionText.h"
#include "mfx/engine/dng/DNGSearch.h"
#include "mfx/texts/Texts.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/FolderLock.h"
#include "platform/common/text/NameText.h"

#include <filesystem>
#include <system_error>

namespace mfx {

namespace fs = std::filesystem;

namespace {

constexpr int kAttempts = 100; // another program may take names as fast as we find them

ConvertedFile refused(FileConversionStatus status, const std::string& why)
{
    return {status, std::nullopt, why};
}

// Why a path is not even opened; nothing for what bears the name of a raw file. What a link leads
// to counts.
std::optional<ConvertedFile> objectionTo(const std::string& raw)
{
    std::error_code error;
    const fs::file_status status = fs::status(raw, error);
    if (status.type() == fs::file_type::not_found)
        return refused(
            FileConversionStatus::kNotThere, text("$$$/Mfx/Convert/NoSuchFile=it is not there"));
    if (error)
        return refused(FileConversionStatus::kFailed,
            text("$$$/Mfx/Convert/CannotLook=it cannot be read: %1", {error.message()}));
    if (!fs::is_regular_file(status))
        return refused(FileConversionStatus::kFailed, text("$$$/Mfx/Convert/NoFile=it is no file"));
    const std::string extension = fs::path(raw).extension().string();
    const std::string kind = extension.empty() ? extension : extension.substr(1);
    if (Pt::equalIgnoringAsciiCase(kind, "dng"))
        return refused(
            FileConversionStatus::kFailed, text("$$$/Mfx/Convert/IsDNG=it is a DNG already"));
    if (mediaKind(kind) != MediaKind::kRaw)
        return refused(FileConversionStatus::kFailed,
            text("$$$/Mfx/Convert/NoRawFile=it does not have the name of a raw file"));
    return std::nullopt;
}

FileConversionStatus statusOf(int result)
{
    switch (result) {
    case kZQPluginTargetUnwritable:
    case kZQPluginNoSpace:
        return FileConversionStatus::kPlaceUnusable;
    case kZQPluginIncomplete:
    case kZQPluginBadRequest:
        return FileConversionStatus::kSystemPart;
    default:
        return FileConversionStatus::kFailed;
    }
}

} // namespace

// Programs that read nothing else sort pictures by it.
void takeOverTime(const std::string& raw, const std::string& dng)
{
    std::error_code ignored;
    const auto time = fs::last_write_time(raw, ignored);
    if (!ignored)
        fs::last_write_time(dng, time, ignored);
}

ConvertedFile FileConversion::convert(const std::string& raw) const
{
    if (auto objection = objectionTo(raw))
        return *objection;
    const fs::path folder = m_folder ? fs::path(*m_folder) : fs::path(raw).parent_path();
    const std::string place = (folder / fs::path(raw).filename()).string();
    // Programs that work at the same files take turns: one finds the DNG of the other. Where
    // nothing can be locked, there are no turns.
    std::error_code error;
    const auto turn = Pt::FolderLock::waitAlone(folder.string(), error);
    const auto found = findDNGOf(place, fs::file_size(raw, error), [&raw] {
        std::error_code unreadable;
        return Pt::digestOfFile(raw, unreadable);
    });
    if (found)
        return {FileConversionStatus::kExists, found, {}};
    return convertTo(raw, place);
}

// `place` is where the raw file would stand if it were in the folder of its DNG.
ConvertedFile FileConversion::convertTo(const std::string& raw, const std::string& place) const
{
    int result = kZQPluginTargetExists;
    std::string dng;
    for (int i = 0; i < kAttempts && result == kZQPluginTargetExists; ++i) {
        dng = nextDNGPath(place);
        result = m_library.convert(raw, dng, m_form);
    }
    if (result != kZQPluginDone)
        return refused(statusOf(result), conversionText(result));
    takeOverTime(raw, dng);
    if (const std::error_code error = Pt::flushFolder(fs::path(dng).parent_path().string()))
        return {FileConversionStatus::kPlaceUnusable,
            dng,
            text("$$$/Mfx/Convert/NotFlushed=the name of its DNG could not be written to the disk: "
                 "%1",
                {error.message()})};
    return {FileConversionStatus::kOk, dng, {}};
}

} // namespace mfx
