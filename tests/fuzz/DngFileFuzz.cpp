// Any bytes as a DNG: its directories, the record of its original, and the raw file inside. What is
// given lies in the file, and what comes out can be written and read again.

#include "ZQPluginSupport/original/DngFile.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "fuzz/Require.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

using fuzz::require;
using Bytes = std::vector<std::uint8_t>;

void check(const dng::TiffFile& file, const dng::TiffDirectory& directory)
{
    const std::uint64_t size = file.source().size();
    for (const dng::TiffEntry& entry : directory.entries) {
        require(entry.entryPosition + 12 <= size && entry.valueOffset + entry.bytes() <= size);
        file.numbers(entry);
        require(file.text(entry, 4096).has_value() == (entry.bytes() <= 4096));
    }
}

// Whether it came out, and then what.
bool unpack(const dng::ByteSource& source,
    const dng::TiffEntry& value,
    const std::optional<dng::OriginalRecord>& record,
    Bytes& raw)
{
    const auto append = [&](std::span<const std::uint8_t> bytes) {
        raw.insert(raw.end(), bytes.begin(), bytes.end());
        return true;
    };
    Pt::ContentDigest content;
    const auto result = dng::unpackOriginal(source, value, record, append, &content);
    const bool isUnpacked = result == dng::UnpackResult::kUnpacked;
    require(!isUnpacked || (content.size == raw.size() && (!record || record->content == content)));
    return isUnpacked;
}

void checkOriginal(const dng::TiffFile& file)
{
    const auto record = dng::originalRecordOf(file);
    if (record)
        require(dng::parseOriginalRecord(dng::formatOriginalRecord(*record)) == record);
    if (const auto name = dng::originalNameOf(file))
        require(dng::isFileName(*name));
    const auto* const value = file.first().find(dng::kTagOriginalData);
    Bytes raw;
    if (!value || !unpack(file.source(), *value, record, raw))
        return;
    const dng::MemorySource rawSource(raw);
    const auto embedded = dng::EmbeddedOriginal::of(rawSource, nullptr, nullptr);
    Bytes again;
    require(embedded && embedded->write([&](std::span<const std::uint8_t> bytes) {
        again.insert(again.end(), bytes.begin(), bytes.end());
        return true;
    }));
    dng::TiffEntry whole;
    whole.type = 7;
    whole.count = static_cast<std::uint32_t>(again.size());
    Bytes result;
    require(unpack(dng::MemorySource(again), whole, record, result) && result == raw);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dng::parseOriginalRecord({reinterpret_cast<const char*>(bytes), size});
    const dng::MemorySource source({bytes, size});
    const auto file = dng::TiffFile::open(source);
    if (!file)
        return 0;
    check(*file, file->first());
    for (const dng::TiffDirectory& directory : file->below(file->first()))
        check(*file, directory);
    checkOriginal(*file);
    return 0;
}
