#include "pictures/decoding/FileForm.h"

#include "pictures/folder/PictureKind.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace pictures {

namespace {

using namespace std::string_view_literals;

struct Magic {
    std::size_t offset;
    std::string_view text;
    FileForm form;
};

// TIFF's own is not among them: most raw forms begin like it.
constexpr auto kMagics = std::to_array<Magic>({
    {0, "\xFF\xD8\xFF"sv, FileForm::kJpeg},
    {0, "\x89PNG\r\n\x1A\n"sv, FileForm::kToolkit},
    {0, "GIF8"sv, FileForm::kToolkit},
    {8, "WEBP"sv, FileForm::kToolkit},
    {8, "AVI "sv, FileForm::kMovie},
    {6, "HEAPCCDR"sv, FileForm::kRaw},
    {0, "FUJIFILMCCD-RAW"sv, FileForm::kRaw},
    {0, "\0MRM"sv, FileForm::kRaw},
    {0, "FOVb"sv, FileForm::kRaw},
    {0, "IIU\0"sv, FileForm::kRaw},
    {0, "IIRO"sv, FileForm::kRaw},
    {0, "IIRS"sv, FileForm::kRaw},
    {0, "MMOR"sv, FileForm::kRaw},
    {0, "\x1A\x45\xDF\xA3"sv, FileForm::kMovie},
    {0, "\0\0\x01\xBA"sv, FileForm::kMovie},
    {0, "\0\0\x01\xB3"sv, FileForm::kMovie},
    {4, "moov"sv, FileForm::kMovie},
    {4, "mdat"sv, FileForm::kMovie},
    {4, "wide"sv, FileForm::kMovie},
    {4, "pnot"sv, FileForm::kMovie},
});

constexpr auto kStillBrands = std::to_array<std::string_view>(
    {"heic", "heix", "heim", "heis", "hevc", "hevx", "mif1", "msf1", "avif", "avis"});

std::optional<FileForm> formOfBrand(std::string_view beginning)
{
    if (beginning.size() < 12 || beginning.substr(4, 4) != "ftyp")
        return std::nullopt;
    const std::string_view brand = beginning.substr(8, 4);
    if (brand == "crx ")
        return FileForm::kRaw;
    return std::ranges::find(kStillBrands, brand) != kStillBrands.end() ? FileForm::kHeif
                                                                        : FileForm::kMovie;
}

std::optional<FileForm> formOfMagic(std::string_view beginning)
{
    for (const Magic& magic : kMagics)
        if (beginning.size() >= magic.offset
            && beginning.substr(magic.offset).starts_with(magic.text))
            return magic.form;
    return formOfBrand(beginning);
}

bool isTiff(std::string_view beginning)
{
    return beginning.starts_with("II*\0"sv) || beginning.starts_with("MM\0*"sv);
}

FileForm formOfName(QStringView name)
{
    switch (kindOfName(name)) {
    case PictureKind::kJpeg:
    case PictureKind::kStillOfMovie:
        return FileForm::kJpeg;
    case PictureKind::kRaw:
        return FileForm::kRaw;
    case PictureKind::kHeif:
        return FileForm::kHeif;
    case PictureKind::kOther:
        return FileForm::kToolkit;
    case PictureKind::kMovie:
        return FileForm::kMovie;
    case PictureKind::kNone:
    case PictureKind::kSidecar:
        break;
    }
    return FileForm::kUnknown;
}

} // namespace

FileForm formOf(std::span<const unsigned char> beginning, QStringView name)
{
    const std::string_view text(reinterpret_cast<const char*>(beginning.data()), beginning.size());
    if (const auto form = formOfMagic(text))
        return *form;
    const FileForm named = formOfName(name);
    if (isTiff(text) && named != FileForm::kRaw)
        return FileForm::kToolkit;
    return named;
}

} // namespace pictures
