// EXIF blocks of any bytes: an orientation out of the eight, or nothing; a small picture that lies
// in the block, or none.

#include "pictures/decoding/ExifSegment.h"
#include "pictures/decoding/Orientation.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    for (const auto found :
        {pictures::exifOrientation({bytes, size}), pictures::orientationOfSegment({bytes, size})})
        if (found && (*found < 1 || *found > 8))
            std::abort();
    const auto picture = pictures::exifThumbnail({bytes, size});
    if (!picture.empty()
        && (picture.data() < bytes || picture.data() + picture.size() > bytes + size))
        std::abort();
    return 0;
}
