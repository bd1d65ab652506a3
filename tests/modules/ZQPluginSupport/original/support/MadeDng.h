// A DNG that has a raw file inside and nothing else worth reading, for what gets it out again.
#pragma once

#include "ZQPluginSupport/encoding/WorkerThreads.h"
#include "ZQPluginSupport/original/DngFile.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"
#include "modules/ZQPluginSupport/support/TiffMaker.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace test {

inline std::span<const std::uint8_t> bytesOf(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

std::span<const std::uint8_t> bytesOf(std::string&& text) = delete; // it would be gone

// The tag's value; empty if there is none.
inline std::string embedded(const std::string& raw,
    const std::optional<std::string>& preview = {},
    dng::WorkerThreads* threads = nullptr)
{
    const dng::MemorySource rawSource(bytesOf(raw));
    const std::string previewBytes = preview.value_or("");
    const dng::MemorySource previewSource(bytesOf(previewBytes));
    const auto made =
        dng::EmbeddedOriginal::of(rawSource, preview ? &previewSource : nullptr, threads);
    std::string value;
    const auto append = [&](std::span<const std::uint8_t> bytes) {
        value.append(bytes.begin(), bytes.end());
        return true;
    };
    return made && made->write(append) && made->size() == value.size() ? value : "";
}

inline dng::OriginalRecord recordOf(const std::string& name, const std::string& raw)
{
    Pt::ContentDigester digester;
    digester.add(raw.data(), raw.size());
    return {name, digester.finish()};
}

struct MadeDng {
    std::optional<dng::OriginalRecord> record = {};
    std::optional<std::string> name = {}; // as any DNG may have it
    std::optional<std::string> value = {}; // the raw file inside
    bool isBigEndian = false;
    std::size_t pictureOffset = 0;

    std::string bytes() const
    {
        TiffMaker tiff(isBigEndian);
        tiff.longs(256, {1});
        tiff.longs(
            dng::kTagStripOffsets, {pictureOffset}); // the file's first bytes, as good as any
        tiff.longs(dng::kTagStripByteCounts, {8});
        tiff.bytes(dng::kTagDngVersion, std::string("\1\4\0\0", 4));
        if (record)
            tiff.bytes(dng::kTagPrivateData, dng::formatOriginalRecord(*record));
        if (name)
            tiff.bytes(dng::kTagOriginalName, *name);
        if (value)
            tiff.add(dng::kTagOriginalData, TiffMaker::kUndefined, value->size(), *value);
        return tiff.file();
    }
};

} // namespace test
