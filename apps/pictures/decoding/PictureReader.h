// Reads pictures of every kind at a wanted size: upright, in sRGB, with a bound on memory.
//
// Read-only: files are opened for reading and nothing else. JPEG files are scaled while they are
// decoded; raw files and DNG are shown through the previews that they carry. Bytes of any kind give
// a reason and no picture, never a crash. Blocks for as long as reading and decoding take. Any
// thread may call, many at once.
#pragma once

#include <QImage>
#include <QSize>
#include <QString>

#include <atomic>
#include <cstdint>

namespace pictures {

enum class ReadStatus : std::uint8_t {
    kDone,
    kUnreadable, // the file is gone, no file, or may not be read; asking again may help
    kBroken, // its bytes are no picture, or damaged beyond use
    kTooLarge, // decoding would take more memory than kDecodeBound
    kCancelled
};

// What one picture may take while it is decoded, in bytes.
inline constexpr qint64 kDecodeBound = 1'000'000'000;

struct ReadRequest {
    QString path;
    // The box that the picture is to fit into, in pixels, upright; empty for all pixels. Pictures
    // are never enlarged, and may come up to twice as large in each direction when that is cheaper.
    QSize box;
    // When it becomes true, the reader gives up soon. Null: never.
    const std::atomic<bool>* cancelled = nullptr;
};

struct Picture {
    QImage image; // null unless the status is kDone
    // Of the whole picture, upright: of a raw file as the camera gives it, of a movie that is shown
    // by the still beside it that still's.
    QSize fullSize;
    ReadStatus status = ReadStatus::kBroken;
    QString reason; // for people who read logs, in English; empty when done
};

Picture readPicture(const ReadRequest& request);

} // namespace pictures
