// One raw file in the raw library's hands. One thread; the descriptor and the request are borrowed.
#pragma once

#include "pictures/decoding/PictureReader.h"

#include <memory>
#include <span>

class LibRaw;

namespace pictures {

class RawFile {
public:
    RawFile(int descriptor, const ReadRequest& request);
    ~RawFile();
    RawFile(const RawFile&) = delete;
    RawFile& operator=(const RawFile&) = delete;

    // Whether the library knows the form and could read its directories. Else nothing below holds.
    bool isOpen() const { return m_isOpen; }
    QSize fullSize() const; // upright
    int orientation() const;

    // The preview that the library finds best; broken when there is none.
    Picture preview();
    // From the sensor's values, at half the size. The last call.
    Picture developed();

private:
    Picture previewOfJpeg();
    Picture previewOfPixels();
    QImage processed();

    std::unique_ptr<LibRaw> m_raw;
    const ReadRequest& m_request;
    bool m_isOpen = false;
};

// A preview without an orientation of its own is turned as the raw file says, unless it stands
// upright already beside a raw file that lies on its side.
Picture readPreview(std::span<const unsigned char> jpeg,
    const ReadRequest& request,
    int orientation,
    QSize uprightRaw);

} // namespace pictures
