#include "pictures/decoding/PngChunks.h"

#include <QByteArray>
#include <QIODevice>
#include <QtEndian>

#include <cstdint>

namespace pictures {

namespace {

constexpr qint64 kHeadBytes = 8; // length and type
constexpr qint64 kSumBytes = 4;
constexpr qint64 kMaxPacked = 512 * 1024; // unpacked it may be a thousand times that
constexpr qint64 kMaxKey = 79; // of a text, by the standard
constexpr int kMaxChunks = 100'000;

// Texts in other alphabets say behind their key whether they are packed.
bool isPackedText(const QByteArray& beginning)
{
    const qsizetype end = beginning.indexOf('\0');
    return end < 0 || end + 1 >= beginning.size() || beginning[end + 1] != '\0';
}

bool isPacked(const QByteArray& type, QIODevice& device)
{
    if (type == "zTXt" || type == "iCCP")
        return true;
    return type == "iTXt" && isPackedText(device.peek(kMaxKey + 2));
}

// The device stands behind the chunk's head. Of a file that is cut the pixels may be incomplete.
bool isSound(const QByteArray& type, qint64 length, QIODevice& device)
{
    if (length > device.size() - device.pos())
        return type == "IDAT";
    return length <= kMaxPacked || !isPacked(type, device);
}

bool areSound(QIODevice& device)
{
    for (int i = 0; i < kMaxChunks; ++i) {
        const QByteArray head = device.read(kHeadBytes);
        if (head.size() < kHeadBytes)
            return true;
        const qint64 length = qFromBigEndian<std::uint32_t>(head.constData());
        if (!isSound(head.mid(4), length, device))
            return false;
        const qint64 next = device.pos() + length + kSumBytes;
        if (next >= device.size() || !device.seek(next))
            return true;
    }
    return false;
}

} // namespace

bool hasSoundPngChunks(QIODevice& device)
{
    const qint64 position = device.pos();
    const bool isPng = device.read(kHeadBytes) == "\x89PNG\r\n\x1A\n";
    const bool sound = !isPng || areSound(device);
    return device.seek(position) && sound;
}

} // namespace pictures
