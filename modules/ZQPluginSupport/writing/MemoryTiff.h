// A TIFF file that the TIFF library writes into memory, little endian. Every refusal of the library
// is a ConversionFailure. One thread; movable by nobody, since the library knows its address.
#pragma once

#include "ZQPluginSupport/ConversionFailure.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <tiffio.h>

namespace dng {

class MemoryTiff {
public:
    MemoryTiff();
    ~MemoryTiff();
    MemoryTiff(const MemoryTiff&) = delete;
    MemoryTiff& operator=(const MemoryTiff&) = delete;

    // As the library wants the values of the tag: it takes what it gets for it.
    template <typename... Values>
    void set(std::uint32_t tag, Values... values)
    {
        require(TIFFSetField(m_tiff, tag, values...) == 1);
    }

    // As many values as the tag has, or wants to be told.
    template <typename Value>
    void setArray(std::uint32_t tag, const std::vector<Value>& values)
    {
        const TIFFField* const field = TIFFFieldWithTag(m_tiff, tag);
        require(field != nullptr);
        if (TIFFFieldPassCount(field) == 0)
            set(tag, values.data());
        else if (TIFFFieldWriteCount(field) == TIFF_VARIABLE2)
            set(tag, static_cast<std::uint32_t>(values.size()), values.data());
        else
            set(tag, static_cast<std::uint16_t>(values.size()), values.data());
    }

    // The only strip; none of its bytes: a place for one that is known later.
    void addStrip(std::span<const std::uint8_t> bytes);
    void addEmptyTiles(std::uint32_t count);
    void endDirectory();

    // The file. The last call.
    std::string finish();

private:
    static void require(bool isDone)
    {
        if (!isDone)
            throw ConversionFailure(kZQPluginNotSupported);
    }
    static tmsize_t onRead(thandle_t self, void* bytes, tmsize_t count);
    static tmsize_t onWrite(thandle_t self, void* bytes, tmsize_t count);
    static toff_t onSeek(thandle_t self, toff_t place, int from);
    static int onClose(thandle_t self);
    static toff_t onSize(thandle_t self);

    std::string m_bytes;
    std::size_t m_place = 0;
    TIFF* m_tiff = nullptr;
};

} // namespace dng
