#include "mfx/engine/dng/DNGSearch.h"

#include "ZQPluginSupport/original/DngFile.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/FileStatus.h"

#include <filesystem>

namespace mfx {

namespace {

// The form of this number; 0 is the name without one.
std::string dngPath(const std::filesystem::path& raw, int number)
{
    const std::string stem = (raw.parent_path() / raw.stem()).string();
    return (number == 0 ? stem : stem + '_' + std::to_string(number)) + ".dng";
}

// Nothing for what is no file: a pipe under that name would hold us up.
std::optional<dng::OriginalRecord> recordIn(const std::string& path)
{
    std::error_code error;
    const auto status = Pt::fileStatus(path, error);
    if (!status || status->kind != Pt::FileStatus::Kind::kRegular)
        return std::nullopt;
    const int descriptor = Pt::openPath(path, Pt::FileOpening::kReadOnly, 0);
    if (descriptor < 0)
        return std::nullopt;
    auto record = dng::readOriginalRecord(descriptor);
    Pt::closeDescriptor(descriptor);
    return record;
}

} // namespace

// The sink tells whether it made a DNG and not under which name: its rule for names is followed
// here before the call, while the name is still free.
std::string nextDNGPath(const std::string& rawPath)
{
    std::error_code error;
    int number = 0;
    while (Pt::fileStatus(dngPath(rawPath, number), error))
        ++number;
    return dngPath(rawPath, number);
}

std::optional<std::uint64_t> originalSizeIn(const std::string& dngPath)
{
    const auto record = recordIn(dngPath);
    return record ? std::optional(record->content.size) : std::nullopt;
}

std::optional<std::string> findDNGOf(
    const std::string& rawPath, std::uint64_t size, const RawDigest& digest)
{
    std::error_code error;
    std::optional<Pt::ContentDigest> wanted;
    for (int number = 0; Pt::fileStatus(dngPath(rawPath, number), error); ++number) {
        const auto record = recordIn(dngPath(rawPath, number));
        if (!record || record->content.size != size)
            continue;
        if (!wanted)
            wanted = digest();
        if (!wanted)
            return std::nullopt;
        if (record->content == *wanted)
            return dngPath(rawPath, number);
    }
    return std::nullopt;
}

std::optional<std::string> findMadeDNG(
    const std::string& rawPath, const std::string& expected, const Pt::ContentDigest& content)
{
    const auto record = recordIn(expected);
    if (record && record->content == content)
        return expected;
    auto found = findDNGOf(rawPath, content.size, [&content] { return content; });
    return found || record ? found : expected;
}

} // namespace mfx
