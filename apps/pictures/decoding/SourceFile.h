// A picture's file, open, with what it really is.
#pragma once

#include "pictures/decoding/FileForm.h"
#include "platform/common/files/RegularFile.h"

#include <QString>

#include <optional>
#include <system_error>

namespace pictures {

struct SourceFile {
    Pt::RegularFile file; // at its first byte
    FileForm form = FileForm::kUnknown;

    int descriptor() const { return file.descriptor.get(); }
};

// Nothing for what is no regular file or may not be read; never waits for a pipe or a device.
std::optional<SourceFile> openSource(const QString& path, std::error_code& error);

} // namespace pictures
