#include "ZQPluginSupport/original/DngFile.h"

#include <algorithm>

namespace dng {

namespace {

// More than any record, and little enough to be read.
constexpr std::size_t kLongestText = 4096;

std::optional<std::string> textOf(const TiffFile& file, std::uint16_t tag)
{
    const TiffEntry* const entry = file.first().find(tag);
    return entry ? file.text(*entry, kLongestText) : std::nullopt;
}

} // namespace

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
    return file ? originalRecordOf(*file) : std::nullopt;
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
