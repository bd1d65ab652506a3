// Makes DNGs of raw files that are somewhere, for the command that does nothing else: beside each,
// or all in one folder. The raw files stay as they are. Never over a file, and no second DNG of a
// file whose DNG stands there already.
//
// Borrows the library. One thread at a time; a conversion takes seconds.
#pragma once

#include "mfx/engine/dng/ConversionLibrary.h"

#include <optional>
#include <string>

namespace mfx {

enum class FileConversionStatus {
    kOk,
    kExists, // its DNG stands there already
    kNotThere, // there is no such file
    kPlaceUnusable, // the folder takes no DNG
    kSystemPart, // the library is not whole
    kFailed, // for a reason of the file's own
};

// Gives a DNG the time of modification of its raw file. A file system that takes no times keeps the
// DNG all the same.
void takeOverTime(const std::string& raw, const std::string& dng);

struct ConvertedFile {
    FileConversionStatus status = FileConversionStatus::kFailed;
    std::optional<std::string> dng; // path
    std::string error; // for people; empty where there is a DNG
};

class FileConversion {
public:
    // Without a folder, each DNG goes beside its raw file.
    FileConversion(
        const ConversionLibrary& library, const DNGForm& form, std::optional<std::string> folder)
        : m_library(library)
        , m_form(form)
        , m_folder(std::move(folder))
    {
    }

    // `raw` is a whole path.
    ConvertedFile convert(const std::string& raw) const;

private:
    ConvertedFile convertTo(const std::string& raw, const std::string& place) const;

    const ConversionLibrary& m_library;
    const DNGForm m_form;
    const std::optional<std::string> m_folder;
};

} // namespace mfx
