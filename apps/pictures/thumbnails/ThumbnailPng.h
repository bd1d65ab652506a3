// A thumbnail as the bytes of a PNG file, with the texts that say which picture it shows. Bytes
// come from a folder that every program writes to: they are held against a size before anything is
// decoded. Any thread may call.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>

#include <optional>
#include <utility>

namespace pictures {

using PngTexts = QList<std::pair<QByteArray, QByteArray>>; // keys and values, of ASCII

inline constexpr const char* kUriText = "Thumb::URI";
inline constexpr const char* kTimeText = "Thumb::MTime";
inline constexpr const char* kBytesText = "Thumb::Size";
inline constexpr const char* kWidthText = "Thumb::Image::Width";
inline constexpr const char* kHeightText = "Thumb::Image::Height";
inline constexpr const char* kSoftwareText = "Software";

// Packed for speed. Empty when the image is null.
QByteArray thumbnailPng(const QImage& image, const PngTexts& texts);

// The image, with the texts that it bears; nothing when it is no PNG, is larger than `maxEdge` in a
// direction, or damaged.
std::optional<QImage> thumbnailImage(const QByteArray& png, int maxEdge);

} // namespace pictures
