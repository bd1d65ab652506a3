// One JPEG picture on its way out of its bytes, by libjpeg-turbo: the header first, then the pixels
// at an eighth to eight eighths of the size.
//
// The library leaves by a long jump when it gives up; that is caught here, and nothing that owns
// anything lies on its way. Data that is damaged or cut short gives what was decoded, if that is
// anything. Progressive files are held to the number of scans that encoders make. One thread; the
// source and the flag are borrowed.
#pragma once

#include "pictures/decoding/ByteSource.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

#include <array>
#include <atomic>
#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <vector>

#include <jpeglib.h> // needs <cstdio> before it

namespace pictures {

class JpegDecoder {
public:
    JpegDecoder(ByteSource& source, const std::atomic<bool>* cancelled);
    ~JpegDecoder();
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    // False when it is no JPEG, or damaged beyond use.
    bool readHeader();

    // Requires for all below: the header was read.
    QSize size() const; // as it is stored
    std::optional<int> orientation() const; // what its EXIF says
    QByteArray exifThumbnail() const; // a JPEG picture, as it stands there; empty for none
    QByteArray iccProfile();

    // Of the picture in eighths; the memory that decoding takes is known then.
    void scaleTo(int eighths);
    QSize scaledSize() const;
    qint64 memoryNeeded() const;

    // Null when nothing could be decoded, or on cancellation. Once only.
    QImage decode();

    // What the library said last, in English.
    QString problem() const;

private:
    // Each begins with what the library knows, which is how its calls find their way back here.
    struct Errors {
        jpeg_error_mgr base;
        std::jmp_buf jump;
        std::array<char, JMSG_LENGTH_MAX> text;
    };
    struct Source {
        jpeg_source_mgr base;
        JpegDecoder* decoder;
    };
    struct Progress {
        jpeg_progress_mgr base;
        JpegDecoder* decoder;
    };

    static void onError(j_common_ptr info);
    static void onMessage(j_common_ptr info, int level);
    static boolean onEmpty(j_decompress_ptr info);
    static void onSkip(j_decompress_ptr info, long count);
    static void onProgress(j_common_ptr info);

    template <typename Step>
    bool succeeds(Step step);
    void setUpSource();
    void chooseColors();
    void noteEnd();
    bool hasTooManyScans() const;
    bool isCancelled() const;
    bool isAnythingThere() const;
    bool isPastTheEnd() const;
    void readRows(QImage& image);
    void readCmykRow(uchar* row);
    void readRgbRows(QImage& image);

    ByteSource& m_source;
    const std::atomic<bool>* const m_cancelled;
    jpeg_decompress_struct m_info{};
    Errors m_errors{};
    Source m_reading{};
    Progress m_progress{};
    bool m_ended = false; // the bytes ran out before the picture did
    bool m_endedWithNothing = false;
    unsigned int m_rowOfEnd = 0; // of blocks
    std::vector<uchar> m_cmykRow;
};

} // namespace pictures
