#include "ZQPluginSupport/original/DngFile.h"

#include <algorithm>

namespace dng {

namespace {

// More than any record, and little enough to be read.
constexpr std::size_t kMaxText = 4096;

std::optional<std::string> textOf(const TiffFile& file, std::uint16_t tag)
{
    const TiffEntry* const entry = file.first().find(tag);
    return entry ? file.text(*entry, kMaxText) : std::nullopt;
}

// Nothing where the directory does not name pieces in this way; else whether they lie in the file.
std::optional<bool> holdsPieces(const TiffFile& file,
    const TiffDirectory& directory,
    std::uint16_t offsetsTag,
    std::uint16_t countsTag)
{
    const TiffEntry* const offsetsEntry = directory.find(offsetsTag);
    const TiffEntry* const countsEntry = directory.find(countsTag);
    if (!offsetsEntry || !countsEntry)
        return std::nullopt;
    const auto offsets = file.numbers(*offsetsEntry);
    const auto counts = file.numbers(*countsEntry);
    if (offsets.empty() || offsets.size() != counts.size())
        return false;
    for (std::size_t i = 0; i < offsets.size(); ++i)
        if (std::uint64_t{offsets[i]} + counts[i] > file.source().size())
            return false;
    return true;
}

} // namespace

bool isWhole(const TiffFile& file)
{
    auto directories = file.below(file.first());
    directories.push_back(file.first());
    bool hasPicture = false;
    for (const TiffDirectory& directory : directories) {
        if (!directory.cutOff.empty())
            return false;
        for (const auto& held :
            {holdsPieces(file, directory, kTagStripOffsets, kTagStripByteCounts),
                holdsPieces(file, directory, kTagTileOffsets, kTagTileByteCounts)}) {
            if (held == false)
                return false;
            hasPicture = hasPicture || held.has_value();
        }
    }
    return hasPicture;
}

std::optional<TiffFile> openDng(const ByteSource& source)
{
    auto file = TiffFile::open(source);
    return file && file->first().find(kTagDngVersion) ? file : std::nullopt;
}

std::optional<OriginalRecord> originalRecordOf(const TiffFile& file)
{
    const auto bytes = textOf(file, kTagPrivateData);
    return bytes ? parseOriginalRecord(*bytes) : std::nullopt;
}

std::optional<OriginalRecord> readOriginalRecord(int descriptor)
{
    const auto source = FileSource::of(descriptor);
    const auto file = source ? openDng(*source) : std::nullopt;
    return file && isWhole(*file) ? originalRecordOf(*file) : std::nullopt;
}

std::optional<std::string> originalNameOf(const TiffFile& file)
{
    auto name = textOf(file, kTagOriginalName);
    if (!name)
        return std::nullopt;
    name->resize(std::min(name->size(), name->find('\0')));
    return isFileName(*name) ? name : std::nullopt;
}

} // namespace dng
