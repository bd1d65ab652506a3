// One conversion in this process, for tests that disturb it. Usage: conversion_probe RAW FOLDER
//
// Makes FOLDER/A.dng, uncompressed and with the raw file inside. Its exit status is the result.
#include "ZQPluginSupport/ConversionFailure.h"
#include "ZQPluginSupport/worker/Conversion.h"
#include "platform/common/files/FileBytes.h"
#include "platform/common/files/NewFile.h"
#include "platform/common/files/RegularFile.h"

#include <string>

namespace {

ZQPluginResult convert(const std::string& raw, const std::string& folder)
try {
    std::error_code error;
    const auto source = Pt::openRegularFile(raw, error);
    const auto bytes = Pt::MappedFile::map(source->descriptor.get(), error);
    auto target = Pt::NewFile::make(folder, 0600, error);
    if (!target)
        return kZQPluginTargetUnwritable;
    dng::ConversionOptions options;
    options.preview = dng::PreviewSize::kNone;
    options.isCompressed = false;
    options.embedsRaw = true;
    dng::WorkerThreads threads(1);
    dng::convert({bytes->bytes(), {}, {}, "A.CR2"}, options, target->descriptor(), threads, [] {});
    return target->place(folder + "/A.dng") ? kZQPluginWriteFailed : kZQPluginDone;
} catch (const dng::ConversionFailure& failure) {
    return failure.reason();
}

} // namespace

int main(int argc, char** words)
{
    return argc == 3 ? convert(words[1], words[2]) : kZQPluginBadRequest;
}
