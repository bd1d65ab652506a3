#include "mfx/engine/card/PictureSearch.h"

#include "mfx/engine/card/MediaItem.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/text/NameText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace mfx {

using namespace std::string_view_literals;

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kNames = 5; // told by name; the rest is counted
constexpr std::uint64_t kThumbnail = 128 * 1024; // bytes; what cameras make takes a tenth of it
// A system writes such a file beside each of another's, with the same extension and "._" in front.
constexpr auto kSystemNotes = "\x00\x05\x16\x07"sv;

// Enough for the longest signature below, in one read of the card.
std::string firstBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::array<char, 16> bytes{};
    file.read(bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(file.gcount())};
}

bool beginsLikeAPicture(std::string_view bytes)
{
    constexpr auto kBeginnings = std::to_array<std::string_view>({
        "\xFF\xD8\xFF"sv, // JPEG
        "II*\0"sv,
        "MM\0*"sv,
        "IIRO"sv,
        "IIRS"sv,
        "IIU\0"sv, // TIFF and raw files made of it
        "II\x1A\0"sv, // CIFF
        "FUJIFILM"sv,
        "FOVb"sv,
        "\0MRM"sv, // raw files
        "\x89PNG"sv,
    });
    constexpr auto kBoxes = std::to_array<std::string_view>({"ftyp", "moov", "mdat"});
    const auto begins = [&](std::string_view word) { return bytes.starts_with(word); };
    const std::string_view box = bytes.size() >= 8 ? bytes.substr(4, 4) : std::string_view();
    const bool isRiff = bytes.starts_with("RIFF") && bytes.size() >= 12;
    return std::any_of(kBeginnings.begin(), kBeginnings.end(), begins)
        || std::find(kBoxes.begin(), kBoxes.end(), box) != kBoxes.end()
        || (isRiff && (bytes.substr(8, 4) == "AVI " || bytes.substr(8, 4) == "WAVE"));
}

bool isMediaName(const std::string& name)
{
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos)
        return false;
    const MediaKind kind = mediaKind(name.substr(dot + 1));
    return kind != MediaKind::kOther && kind != MediaKind::kSidecar;
}

// The folder of thumbnails that some cameras keep beside their movies. A larger file in it is no
// thumbnail, and may be a picture that was moved there.
bool isThumbnail(const fs::path& path, std::uint64_t size)
{
    return Pt::equalIgnoringAsciiCase(path.parent_path().filename().string(), "THMBNL")
        && size <= kThumbnail;
}

bool isPictureFile(const fs::path& path)
{
    std::error_code unknown;
    const auto status = Pt::fileStatus(path.string(), unknown);
    return status && status->kind == Pt::FileStatus::Kind::kRegular
        && !isThumbnail(path, status->size) && isPicture(path.string());
}

} // namespace

// Either of the two is enough: a camera's raw file may begin with bytes that we do not know, and a
// picture that was recovered has no extension.
bool isPicture(const std::string& path)
{
    const std::string bytes = firstBytes(path);
    if (bytes.empty() || bytes.starts_with(kSystemNotes))
        return false;
    return isMediaName(fs::path(path).filename().string()) || beginsLikeAPicture(bytes);
}

FoundPictures picturesBelow(const std::string& root, const std::string& folder)
{
    FoundPictures found;
    std::error_code error;
    fs::recursive_directory_iterator it(
        fs::path(root) / folder, fs::directory_options::skip_permission_denied, error);
    for (const fs::recursive_directory_iterator end; !error && it != end; it.increment(error)) {
        if (!isPictureFile(it->path()))
            continue;
        if (++found.count <= kNames)
            found.names.push_back(it->path().lexically_relative(root).string());
    }
    return found;
}

} // namespace mfx
