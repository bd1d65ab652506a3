#include "mfx/engine/dng/ConversionLibrary.h"

#include "platform/common/services/PtModule.h"
#include "platform/common/text/PtConstString.h"

namespace mfx {

namespace {

const Pt::ConstString& libraryPath()
{
    static const Pt::ConstString kPath("../Frameworks/ZQPluginSupport.framework");
    return kPath;
}

} // namespace

// The reference is ended and the code stays, so that the functions can be called to the end.
template <typename Module>
std::optional<ConversionLibrary> ConversionLibrary::in(Module* module)
{
    if (!module)
        return std::nullopt;
    ConversionLibrary library;
    library.m_canConvert =
        reinterpret_cast<bool (*)()>(PtGetProcAddress(module, "ZQPlugin_CanConvertToDNG"));
    library.m_convert = reinterpret_cast<int (*)(const char*, const char*, int, int, int, int)>(
        PtGetProcAddress(module, "ZQPlugin_ConvertToDNG"));
    library.m_lastResult =
        reinterpret_cast<int (*)()>(PtGetProcAddress(module, "ZQPlugin_LastResult"));
    PtReleaseModuleRef(module);
    return library;
}

std::optional<ConversionLibrary> ConversionLibrary::load()
{
    auto library = in(PtLoadLibrary(libraryPath()));
    const bool canConvert =
        library && library->m_convert && library->m_canConvert && library->m_canConvert();
    return canConvert ? library : std::nullopt;
}

std::optional<ConversionLibrary> ConversionLibrary::loaded()
{
    return in(PtGetModuleHandle(libraryPath()));
}

int ConversionLibrary::convert(
    const std::string& raw, const std::string& dng, const DNGForm& form) const
try {
    return m_convert(raw.c_str(),
        dng.c_str(),
        form.preview,
        form.uncompressed ? 0 : 1,
        form.linear ? 1 : 0,
        form.embedsRaw ? 1 : 0);
} catch (...) {
    return -1;
}

std::optional<int> ConversionLibrary::lastResult() const
{
    return m_lastResult ? std::optional(m_lastResult()) : std::nullopt;
}

} // namespace mfx
