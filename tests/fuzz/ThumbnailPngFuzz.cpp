// What lies in the shared store of thumbnails: an image within its bounds, or nothing.

#include "pictures/thumbnails/ThumbnailPng.h"

#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    QLoggingCategory::setFilterRules(QStringLiteral("qt.gui.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr int kMaxEdge = 128;
    const auto png =
        QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    const auto image = pictures::thumbnailImage(png, kMaxEdge);
    if (image && (image->isNull() || image->width() > kMaxEdge || image->height() > kMaxEdge))
        std::abort();
    return 0;
}
