#include "ZQPluginSupport/writing/MemoryTiff.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace dng {

namespace {

std::uint8_t gNothing = 0;

} // namespace

MemoryTiff::MemoryTiff()
{
    // What it has to say comes back as a result, too.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    m_tiff = TIFFClientOpen(
        "dng", "wl", this, onRead, onWrite, onSeek, onClose, onSize, nullptr, nullptr);
    require(m_tiff != nullptr);
}

MemoryTiff::~MemoryTiff()
{
    if (m_tiff)
        TIFFClose(m_tiff);
}

void MemoryTiff::addStrip(std::span<const std::uint8_t> bytes)
{
    void* const data = bytes.empty() ? &gNothing : const_cast<std::uint8_t*>(bytes.data());
    const auto size = static_cast<tmsize_t>(std::max<std::size_t>(bytes.size(), 1));
    require(TIFFWriteRawStrip(m_tiff, 0, data, size) == size);
}

void MemoryTiff::addEmptyTiles(std::uint32_t count)
{
    for (std::uint32_t i = 0; i < count; ++i)
        require(TIFFWriteRawTile(m_tiff, i, &gNothing, 1) == 1);
}

void MemoryTiff::endDirectory()
{
    require(TIFFWriteDirectory(m_tiff) == 1);
}

std::string MemoryTiff::finish()
{
    TIFFClose(std::exchange(m_tiff, nullptr));
    return std::move(m_bytes);
}

tmsize_t MemoryTiff::onRead(thandle_t self, void* bytes, tmsize_t count)
{
    auto& tiff = *static_cast<MemoryTiff*>(self);
    const std::size_t left = tiff.m_bytes.size() - std::min(tiff.m_place, tiff.m_bytes.size());
    const std::size_t size = std::min(static_cast<std::size_t>(count), left);
    if (size > 0)
        std::memcpy(bytes, tiff.m_bytes.data() + tiff.m_place, size);
    tiff.m_place += size;
    return static_cast<tmsize_t>(size);
}

tmsize_t MemoryTiff::onWrite(thandle_t self, void* bytes, tmsize_t count)
{
    auto& tiff = *static_cast<MemoryTiff*>(self);
    const auto size = static_cast<std::size_t>(count);
    tiff.m_bytes.resize(std::max(tiff.m_bytes.size(), tiff.m_place + size));
    if (size > 0)
        std::memcpy(tiff.m_bytes.data() + tiff.m_place, bytes, size);
    tiff.m_place += size;
    return count;
}

toff_t MemoryTiff::onSeek(thandle_t self, toff_t place, int from)
{
    auto& tiff = *static_cast<MemoryTiff*>(self);
    const std::size_t start = from == SEEK_SET ? 0
        : from == SEEK_CUR                     ? tiff.m_place
                                               : tiff.m_bytes.size();
    tiff.m_place = start + static_cast<std::size_t>(place);
    return tiff.m_place;
}

int MemoryTiff::onClose(thandle_t /*self*/)
{
    return 0;
}

toff_t MemoryTiff::onSize(thandle_t self)
{
    return static_cast<MemoryTiff*>(self)->m_bytes.size();
}

} // namespace dng
