// What the camera and later tools noted in a raw file and beside it: EXIF with position and the
// maker's own notes, and XMP. Kept by the metadata library, which reads them from memory. What it
// cannot read is not there. One thread.
#pragma once

#include "ZQPluginSupport/decoding/RawSource.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace dng {

class SourceNotes {
public:
    // `sidecar`: the text of an XMP file beside it, or nothing; one that is not valid is left out.
    SourceNotes(std::span<const std::byte> raw, std::span<const std::byte> sidecar);
    ~SourceNotes();
    SourceNotes(const SourceNotes&) = delete;
    SourceNotes& operator=(const SourceNotes&) = delete;

    // The head with all notes. What the camera noted of the shot is taken from `shot` where the
    // file's own notes lack it. Throws a ConversionFailure when the library refuses.
    std::string addTo(const std::string& head, const ShotFacts& shot) const;

    // Before the process gives up opening files: what the library sets up at its first use.
    static void warmUp();

private:
    struct Notes;
    const std::unique_ptr<Notes> m_notes;
};

} // namespace dng
