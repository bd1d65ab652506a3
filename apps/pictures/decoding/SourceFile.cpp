#include "pictures/decoding/SourceFile.h"

#include "pictures/folder/PathText.h"
#include "platform/common/files/FileAccess.h"

#include <QFileInfo>

#include <array>
#include <utility>

namespace pictures {

std::optional<SourceFile> openSource(const QString& path, std::error_code& error)
{
    auto file = Pt::openRegularFile(pathBytes(path), error);
    if (!file)
        return std::nullopt;
    std::array<unsigned char, kFormBytes> beginning{};
    const int descriptor = file->descriptor.get();
    const std::int64_t count = Pt::readDescriptor(descriptor, beginning.data(), beginning.size());
    Pt::seekToStart(descriptor);
    const auto known = std::span(beginning).first(count > 0 ? static_cast<std::size_t>(count) : 0);
    return SourceFile{std::move(*file), formOf(known, QFileInfo(path).fileName())};
}

} // namespace pictures
