// JPEG pictures of 24 megapixels as a camera would make them, for what reads pictures.
#pragma once

#include <QImage>
#include <QImageWriter>
#include <QString>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

namespace bench {

inline constexpr int kWidth = 6000;
inline constexpr int kHeight = 4000;

// Light that falls off, colours that run, and the grain of a sensor.
inline QImage naturalPicture(unsigned int seed)
{
    std::minstd_rand random(seed);
    QImage image(kWidth, kHeight, QImage::Format_RGB32);
    for (int y = 0; y < kHeight; ++y) {
        auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < kWidth; ++x) {
            const int grain = static_cast<int>(random() % 17) - 8;
            const auto level = [grain](int value) { return std::clamp(value + grain, 0, 255); };
            row[x] = qRgb(level(x * 200 / kWidth + (x / 97 + y / 61) % 40),
                level(y * 220 / kHeight + (x / 31) % 20),
                level(255 - (x + y) * 255 / (kWidth + kHeight)));
        }
    }
    return image;
}

// Quality 90. Ends the program when it cannot.
inline void writeNaturalPicture(const std::string& path, unsigned int seed)
{
    QImageWriter writer(QString::fromStdString(path), "jpg");
    writer.setQuality(90);
    if (!writer.write(naturalPicture(seed)))
        std::abort();
}

} // namespace bench
