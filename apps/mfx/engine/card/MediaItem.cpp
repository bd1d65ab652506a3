#include "mfx/engine/card/MediaItem.h"

#include "platform/common/text/NameText.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace mfx {

namespace {

constexpr std::size_t kMaxExtensionLength = 32;
constexpr std::size_t kMaxChainedLength = 5;

// Blanks around each extension, also the first and the last: a search for " nef " finds whole
// words.
constexpr auto kKinds = std::to_array<std::pair<MediaKind, std::string_view>>({
    {MediaKind::kRaw,
        " 3fr arw bay cap cr2 cr3 crw dcr dcs dng drf eip erf fff gpr iiq k25 kdc mdc mef mos mrw "
        "nef nrw orf pef ptx pxn raf raw rw2 rwl rwz sr2 srf srw x3f "},
    {MediaKind::kImage,
        " avif bmp gif heic heif hif jp2 jpe jpeg jpg jps jxl mpo png psd tif tiff webp "},
    {MediaKind::kMovie,
        " 3g2 3gp avi avchd braw crm insv m2ts m4v mkv mod mov mp4 mpeg mpg mts mxf r3d tod webm "
        "wmv "},
    {MediaKind::kAudio, " aac amr flac m4a mp3 wav "},
    // Companions of a movie: thumbnail and small version. They never lead a group.
    {MediaKind::kOther, " glv lrv thm "},
    {MediaKind::kSidecar, " aae dop pp3 xmp "},
});

std::optional<MediaKind> knownKind(std::string_view extension)
{
    if (extension.empty() || extension.find(' ') != std::string_view::npos)
        return std::nullopt;
    const std::string word = ' ' + Pt::asciiLower(extension) + ' ';
    const auto found = std::find_if(kKinds.begin(), kKinds.end(), [&word](const auto& row) {
        return row.second.find(word) != std::string_view::npos;
    });
    return found == kKinds.end() ? std::nullopt : std::optional(found->first);
}

// The position of the dot before the extension, if there is one.
std::optional<std::size_t> extensionDot(std::string_view name)
{
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return std::nullopt;
    const std::size_t length = name.size() - dot - 1;
    return length == 0 || length > kMaxExtensionLength ? std::nullopt : std::optional(dot);
}

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool canBeChained(std::string_view extension)
{
    return !extension.empty() && extension.size() <= kMaxChainedLength
        && std::all_of(extension.begin(), extension.end(), isAlphanumeric);
}

} // namespace

MediaKind mediaKind(std::string_view extension)
{
    const std::size_t dot = extension.rfind('.');
    const std::string_view last =
        dot == std::string_view::npos ? extension : extension.substr(dot + 1);
    return knownKind(last).value_or(MediaKind::kOther);
}

// Unknown extensions are of the kind Other for everybody else; companions are the known ones of it.
bool isMovieCompanion(std::string_view extension)
{
    return knownKind(extension) == MediaKind::kOther;
}

std::string extensionList(MediaKind kind)
{
    std::string list;
    for (const auto& [known, extensions] : kKinds)
        if (known == kind)
            list = extensions.substr(1, extensions.size() - 2);
    std::replace(list.begin(), list.end(), ' ', ',');
    return list;
}

// The rule for chained sidecars is in the header. A name that looks chained and is none
// (my.trip.xmp) would otherwise take the sidecar from the picture it belongs to.
std::size_t stemLength(std::string_view name, const SiblingCheck& hasSibling)
{
    const auto dot = extensionDot(name);
    if (!dot)
        return name.size();
    const std::string_view parent = name.substr(0, *dot);
    const auto parentDot = extensionDot(parent);
    if (!parentDot || knownKind(name.substr(*dot + 1)) != MediaKind::kSidecar)
        return *dot;
    const std::string_view chained = parent.substr(*parentDot + 1);
    const bool belongs =
        canBeChained(chained) && (knownKind(chained).has_value() || hasSibling(parent));
    return belongs ? *parentDot : *dot;
}

} // namespace mfx
