// A DNG as small as can be that bears our record of its original, as the conversion library writes
// it: for stand-ins of that library and for tests of who looks for the record.
#pragma once

#include "ZQPluginSupport/original/OriginalRecord.h"
#include "platform/common/files/ContentDigest.h"

#include <cstdint>
#include <string>

namespace test {

inline std::string littleEndian(std::uint32_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xFFU);
    return text;
}

// An entry of a TIFF directory with values of one byte each.
inline std::string byteEntry(std::uint16_t tag, std::size_t count, const std::string& value)
{
    return littleEndian(tag, 2) + littleEndian(1, 2)
        + littleEndian(static_cast<std::uint32_t>(count), 4) + value;
}

// One with one value of four bytes.
inline std::string longEntry(std::uint16_t tag, std::uint32_t value)
{
    return littleEndian(tag, 2) + littleEndian(4, 2) + littleEndian(1, 4) + littleEndian(value, 4);
}

// `embedded`, if there is any, is the value that has the raw file inside.
inline std::string dngWithRecord(
    const dng::OriginalRecord& original, const std::string& embedded = {})
{
    const std::string record = dng::formatOriginalRecord(original);
    const std::uint32_t entries = embedded.empty() ? 4 : 5;
    const std::uint32_t behindDirectory = 8 + 2 + entries * 12 + 4;
    std::string dng = "II*" + std::string(1, '\0') + littleEndian(8, 4) + littleEndian(entries, 2)
        + longEntry(273, 0) + longEntry(279, 8) // the picture: the first bytes, as good as any
        + byteEntry(50706, 4, {1, 4, 0, 0})
        + byteEntry(50740, record.size(), littleEndian(behindDirectory, 4));
    if (!embedded.empty())
        dng += byteEntry(50828,
            embedded.size(),
            littleEndian(behindDirectory + static_cast<std::uint32_t>(record.size()), 4));
    return dng + littleEndian(0, 4) + record + embedded;
}

// One that shows what it was made of.
inline std::string recordedDng(
    const std::string& name, const std::string& raw, const std::string& embedded = {})
{
    Pt::ContentDigester digester;
    digester.add(raw.data(), raw.size());
    return dngWithRecord({name, digester.finish()}, embedded) + "DNG of " + raw;
}

} // namespace test
