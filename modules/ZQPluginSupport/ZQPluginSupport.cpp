#include "ZQPluginSupport/ZQPluginSupport.h"

#include "ZQPluginSupport/Converter.h"
#include "platform/common/files/FileStatus.h"

#include <atomic>
#include <exception>
#include <mutex>
#include <new>

#define ZQ_EXPORT __attribute__((visibility("default")))

namespace {

std::mutex gTurn;
std::atomic<int> gLastResult{kZQPluginDone};

// Started with the first conversion, and ended with the library.
dng::Converter& converter()
{
    static dng::Converter converter(dng::programOfLibrary());
    return converter;
}

bool isFlag(int value)
{
    return value == 0 || value == 1;
}

} // namespace

extern "C" ZQ_EXPORT bool ZQPlugin_CanConvertToDNG()
{
    std::error_code error;
    const auto status = Pt::fileStatus(dng::programOfLibrary(), error);
    return status && status->kind == Pt::FileStatus::Kind::kRegular;
}

extern "C" ZQ_EXPORT int ZQPlugin_ConvertToDNG(const char* source,
    const char* destination,
    int jpegPreviewSize,
    int compressed,
    int linear,
    int embedRaw)
{
    if (!source || !destination || !isFlag(compressed) || !isFlag(linear) || !isFlag(embedRaw))
        return gLastResult = kZQPluginBadRequest;
    try {
        const std::lock_guard turn(gTurn);
        return gLastResult = converter().convert({source,
                   destination,
                   jpegPreviewSize,
                   compressed == 1,
                   linear == 1,
                   embedRaw == 1});
    } catch (const std::bad_alloc&) {
        return gLastResult = kZQPluginTooLarge;
    } catch (const std::exception&) {
        return gLastResult = kZQPluginIncomplete;
    }
}

extern "C" ZQ_EXPORT int ZQPlugin_LastResult()
{
    return gLastResult;
}
