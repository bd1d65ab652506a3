// How LibRaw says which way up a picture is, and how EXIF does. Plain function; any thread.
#pragma once

namespace dng {

// The library's numbers are those of turns in eighths, of which a camera knows these. From 1 to 8.
constexpr int orientationOfFlip(int flip)
{
    switch (flip) {
    case 3:
        return 3;
    case 5:
        return 8;
    case 6:
        return 6;
    default:
        return 1;
    }
}

} // namespace dng
