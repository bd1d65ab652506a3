#include "pictures/decoding/PictureReader.h"

#include "pictures/decoding/HeifReader.h"
#include "pictures/decoding/JpegReader.h"
#include "pictures/decoding/MovieReader.h"
#include "pictures/decoding/RawReader.h"
#include "pictures/decoding/ReadSteps.h"
#include "pictures/decoding/SourceFile.h"
#include "pictures/decoding/ToolkitReader.h"

#include <QFile>

#include <exception>
#include <new>

namespace pictures {

namespace {

Picture readForm(const SourceFile& source, const ReadRequest& request)
{
    const int descriptor = source.descriptor();
    switch (source.form) {
    case FileForm::kJpeg: {
        FileBytes bytes(descriptor);
        return readJpeg(bytes, request);
    }
    case FileForm::kRaw:
        return readRaw(descriptor, request);
    case FileForm::kHeif:
        return readHeif(Pt::pathOfOpenFile(descriptor), request);
    case FileForm::kToolkit: {
        QFile device;
        if (!device.open(descriptor, QIODevice::ReadOnly))
            return unreadable(device.errorString());
        return readWithToolkit(device, request);
    }
    case FileForm::kMovie:
        return readMovie(descriptor, request);
    case FileForm::kUnknown:
        break;
    }
    return broken(QStringLiteral("no form of picture that is known here"));
}

// Libraries throw, for lack of memory or through faults of their own with damaged files.
Picture readOpened(const SourceFile& source, const ReadRequest& request)
{
    try {
        return readForm(source, request);
    } catch (const std::bad_alloc&) {
        return {{}, {}, ReadStatus::kTooLarge, QStringLiteral("no memory to decode it")};
    } catch (const std::exception& problem) {
        return broken(QString::fromLocal8Bit(problem.what()));
    }
}

} // namespace

Picture readPicture(const ReadRequest& request)
{
    if (isCancelled(request))
        return cancelled();
    std::error_code error;
    const auto source = openSource(request.path, error);
    if (!source)
        return unreadable(QString::fromStdString(error.message()));
    return readOpened(*source, request);
}

} // namespace pictures
