// What a picture's file really is: its first bytes say so where they can (a JPEG may bear any
// name), its name otherwise. Any thread may call.
#pragma once

#include <QStringView>

#include <cstdint>
#include <span>

namespace pictures {

enum class FileForm : std::uint8_t {
    kUnknown,
    kJpeg,
    kRaw,
    kHeif,
    kToolkit, // what the toolkit's plug-ins read
    kMovie
};

inline constexpr std::size_t kFormBytes = 16; // looked at; fewer in a shorter file

FileForm formOf(std::span<const unsigned char> beginning, QStringView name);

} // namespace pictures
