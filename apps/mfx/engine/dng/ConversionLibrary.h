// The library that converts raw files to DNG, found where the plug-in finds it: in the folder of
// frameworks beside the program's own, which is the working folder. It may be absent, or older than
// the reasons that it gives. Stays loaded for the life of the process. Any thread may call; it
// converts one file at a time.
#pragma once

#include <optional>
#include <string>

namespace mfx {

// What a DNG is made like. The numbers of the preview are the library's: none, medium, full.
struct DNGForm {
    int preview = 1;
    bool uncompressed = false;
    bool linear = false;
    bool embedsRaw = false;
};

class ConversionLibrary {
public:
    // Loads it. Nothing where it is not there, or says that it cannot convert.
    static std::optional<ConversionLibrary> load();

    // The one that this process has loaded already, whoever did: for what it tells, not to convert.
    static std::optional<ConversionLibrary> loaded();

    // Makes a DNG of a raw file under a name that is free. The library's result: 0 when the DNG was
    // verified. A library that throws has failed in a way of its own (-1).
    int convert(const std::string& raw, const std::string& dng, const DNGForm& form) const;

    // What the last conversion of this process came to, the plug-in's included; nothing where the
    // library does not tell.
    std::optional<int> lastResult() const;

private:
    ConversionLibrary() = default;
    template <typename Module>
    static std::optional<ConversionLibrary> in(Module* module);

    // Null where it has none.
    bool (*m_canConvert)() = nullptr;
    int (*m_convert)(const char*, const char*, int, int, int, int) = nullptr;
    int (*m_lastResult)() = nullptr;
};

} // namespace mfx
