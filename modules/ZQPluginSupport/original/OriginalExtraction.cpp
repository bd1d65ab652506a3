#include "ZQPluginSupport/original/OriginalExtraction.h"

#include "ZQPluginSupport/original/DngFile.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/NewFile.h"
#include "platform/common/files/RegularFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace dng {

namespace {

constexpr int kMaxNumbers = 100'000; // of names that are taken

ExtractResult failed(ExtractOutcome outcome)
{
    ExtractResult result;
    result.outcome = outcome;
    return result;
}

// A quota that is used up is a full disk to its user.
ExtractOutcome outcomeOf(const std::error_code& error)
{
    const bool isFull = error.value() == ENOSPC || error.value() == EDQUOT;
    return isFull ? ExtractOutcome::kNoSpace : ExtractOutcome::kCannotWrite;
}

ExtractOutcome outcomeOf(UnpackResult result, const std::error_code& writing)
{
    if (result == UnpackResult::kSinkRefused)
        return outcomeOf(writing);
    return result == UnpackResult::kUnreadable ? ExtractOutcome::kNotThere
                                               : ExtractOutcome::kDamaged;
}

// A name out of a file is not to hide what it names, nor to move a terminal's cursor.
bool isPlain(const std::string& name)
{
    return isFileName(name) && name.front() != '.'
        && std::none_of(name.begin(), name.end(), [](char byte) {
               const auto code = static_cast<unsigned char>(byte);
               return code < 0x20 || code == 0x7f;
           });
}

std::string nameFor(
    const TiffFile& dng, const std::optional<OriginalRecord>& record, const std::string& path)
{
    if (record && isPlain(record->name))
        return record->name;
    if (const auto name = originalNameOf(dng); name && isPlain(*name))
        return *name;
    return std::filesystem::path(path).stem().string() + ".raw";
}

std::string numbered(const std::string& name, int number)
{
    if (number == 0)
        return name;
    const std::size_t dot = name.rfind('.');
    const std::size_t end = dot == std::string::npos || dot == 0 ? name.size() : dot;
    return name.substr(0, end) + '-' + std::to_string(number) + name.substr(end);
}

bool holds(const std::string& path, const Pt::ContentDigest& content)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    if (!status || status->size != content.size)
        return false;
    const auto found = Pt::digestOfFile(path, error);
    return found && *found == content;
}

// Under the first name that is free, unless the same bytes have one already.
ExtractResult place(Pt::NewFile& file,
    const std::string& start,
    const std::string& name,
    const Pt::ContentDigest& content)
{
    ExtractResult result;
    for (int number = 0; number < kMaxNumbers; ++number) {
        result.path = start + numbered(name, number);
        const std::error_code error = file.place(result.path);
        if (error != std::errc::file_exists) {
            result.outcome = error ? outcomeOf(error) : ExtractOutcome::kExtracted;
            break;
        }
        if (holds(result.path, content)) {
            result.outcome = ExtractOutcome::kExists;
            break;
        }
    }
    return result.isThere() ? result : failed(result.outcome);
}

// Into a file without a name; what became of it, if it failed.
std::optional<ExtractOutcome> unpackInto(Pt::NewFile& file,
    const TiffFile& dng,
    const TiffEntry& value,
    const std::optional<OriginalRecord>& record,
    Pt::ContentDigest& content)
{
    std::error_code error;
    const ByteSink sink = [&](std::span<const std::uint8_t> bytes) {
        error = file.write(bytes.data(), bytes.size());
        return !error;
    };
    const UnpackResult result = unpackOriginal(dng.source(), value, record, sink, &content);
    if (result != UnpackResult::kUnpacked)
        return outcomeOf(result, error);
    if (content.size == 0 && !record)
        return ExtractOutcome::kNoOriginal; // an empty part says that there is nothing
    if ((error = file.flush()))
        return outcomeOf(error);
    // A disk may keep something else than it was given.
    const auto kept = file.contentOnDisk(error);
    return kept == content ? std::nullopt : std::optional(ExtractOutcome::kCannotWrite);
}

// Of half a DNG.
bool isCutOff(const TiffDirectory& directory)
{
    return std::ranges::find(directory.cutOff, kTagOriginalData) != directory.cutOff.end();
}

ExtractResult extractFrom(
    const TiffFile& dng, const std::string& dngPath, const std::string& folder)
{
    const TiffEntry* const value = dng.first().find(kTagOriginalData);
    if (!value)
        return failed(
            isCutOff(dng.first()) ? ExtractOutcome::kDamaged : ExtractOutcome::kNoOriginal);
    std::error_code error;
    auto file = Pt::NewFile::make(folder, 0666, error);
    if (!file)
        return failed(outcomeOf(error));
    const auto record = originalRecordOf(dng);
    Pt::ContentDigest content;
    if (const auto failure = unpackInto(*file, dng, *value, record, content))
        return failed(*failure);
    const std::string start = folder.ends_with('/') ? folder : folder + '/';
    ExtractResult result = place(*file, start, nameFor(dng, record, dngPath), content);
    result.isProven = result.isThere() && record;
    return result;
}

} // namespace

ExtractResult extractOriginal(const std::string& dngPath, const std::string& folder)
{
    std::error_code error;
    const auto file = Pt::openRegularFile(dngPath, error);
    if (!file)
        return failed(error == std::errc::invalid_argument ? ExtractOutcome::kNotADng
                                                           : ExtractOutcome::kNotThere);
    const auto source = FileSource::of(file->descriptor.get());
    if (!source)
        return failed(ExtractOutcome::kNotThere);
    const auto dng = openDng(*source);
    return dng ? extractFrom(*dng, dngPath, folder) : failed(ExtractOutcome::kNotADng);
}

} // namespace dng
