#include "pictures/folder/PictureKind.h"

#include <QString>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace pictures {

namespace {

using Row = std::pair<std::u16string_view, PictureKind>;

// Sorted, for the search.
constexpr std::array kKinds = std::to_array<Row>({
    {u"3fr", PictureKind::kRaw},
    {u"3gp", PictureKind::kMovie},
    {u"arw", PictureKind::kRaw},
    {u"avi", PictureKind::kMovie},
    {u"avif", PictureKind::kHeif},
    {u"bmp", PictureKind::kOther},
    {u"cr2", PictureKind::kRaw},
    {u"cr3", PictureKind::kRaw},
    {u"crw", PictureKind::kRaw},
    {u"dcr", PictureKind::kRaw},
    {u"dng", PictureKind::kRaw},
    {u"erf", PictureKind::kRaw},
    {u"fff", PictureKind::kRaw},
    {u"gif", PictureKind::kOther},
    {u"heic", PictureKind::kHeif},
    {u"heif", PictureKind::kHeif},
    {u"hif", PictureKind::kHeif},
    {u"iiq", PictureKind::kRaw},
    {u"jpe", PictureKind::kJpeg},
    {u"jpeg", PictureKind::kJpeg},
    {u"jpg", PictureKind::kJpeg},
    {u"k25", PictureKind::kRaw},
    {u"kdc", PictureKind::kRaw},
    {u"m2ts", PictureKind::kMovie},
    {u"m4v", PictureKind::kMovie},
    {u"mef", PictureKind::kRaw},
    {u"mkv", PictureKind::kMovie},
    {u"mos", PictureKind::kRaw},
    {u"mov", PictureKind::kMovie},
    {u"mp4", PictureKind::kMovie},
    {u"mpeg", PictureKind::kMovie},
    {u"mpg", PictureKind::kMovie},
    {u"mpo", PictureKind::kJpeg},
    {u"mrw", PictureKind::kRaw},
    {u"mts", PictureKind::kMovie},
    {u"nef", PictureKind::kRaw},
    {u"nrw", PictureKind::kRaw},
    {u"orf", PictureKind::kRaw},
    {u"ori", PictureKind::kRaw},
    {u"pef", PictureKind::kRaw},
    {u"png", PictureKind::kOther},
    {u"raf", PictureKind::kRaw},
    {u"raw", PictureKind::kRaw},
    {u"rw2", PictureKind::kRaw},
    {u"rwl", PictureKind::kRaw},
    {u"sr2", PictureKind::kRaw},
    {u"srf", PictureKind::kRaw},
    {u"srw", PictureKind::kRaw},
    {u"thm", PictureKind::kStillOfMovie},
    {u"tif", PictureKind::kOther},
    {u"tiff", PictureKind::kOther},
    {u"webm", PictureKind::kMovie},
    {u"webp", PictureKind::kOther},
    {u"x3f", PictureKind::kRaw},
    {u"xmp", PictureKind::kSidecar},
});
static_assert(std::ranges::is_sorted(kKinds));

} // namespace

PictureKind kindOfName(QStringView name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return PictureKind::kNone;
    const QString extension = name.mid(dot + 1).toString().toLower();
    const std::u16string_view wanted(
        extension.utf16() != nullptr ? reinterpret_cast<const char16_t*>(extension.utf16()) : u"",
        static_cast<std::size_t>(extension.size()));
    const auto found = std::ranges::lower_bound(kKinds, wanted, {}, &Row::first);
    return found != kKinds.end() && found->first == wanted ? found->second : PictureKind::kNone;
}

} // namespace pictures
