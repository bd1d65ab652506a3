// What the camera noted in a picture, for people to read.
//
// Read-only. Bytes of any kind give empty facts, never a crash. Blocks while it reads; any thread
// may call, calls take turns where the library asks for it.
#pragma once

#include <QDateTime>
#include <QSize>
#include <QString>

#include <optional>

namespace pictures {

struct PictureFacts {
    // Local time as the camera noted it; invalid: unknown. Its zone is UTC only so that no zone of
    // this machine moves it: show the clock as it stands.
    QDateTime taken;
    QString camera; // maker and model, the maker not twice
    QString lens;
    std::optional<double> exposureSeconds;
    std::optional<double> aperture; // the f-number
    std::optional<int> sensitivity; // ISO
    std::optional<double> focalLength; // millimetres
    std::optional<double> latitude; // degrees, north positive
    std::optional<double> longitude; // degrees, east positive
    QSize size; // pixels, upright; invalid: unknown
};

PictureFacts readFacts(const QString& path);

} // namespace pictures
