// Movies of a few hundred bytes, built box by box.
#pragma once

#include <cstdint>
#include <string>

namespace mfx::tests {

inline std::string bigEndian(std::uint64_t value, int bytes)
{
    std::string text;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
        text += static_cast<char>((value >> shift) & 0xFFU);
    return text;
}

inline std::string box(const std::string& type, const std::string& payload)
{
    return bigEndian(payload.size() + 8, 4) + type + payload;
}

inline std::string chunk(const std::string& type, const std::string& payload)
{
    const std::string size = bigEndian(payload.size(), 4);
    return type + std::string(size.rbegin(), size.rend()) + payload
        + std::string(payload.size() % 2, '\0');
}

// Seconds since 1904; version 1 has 64-bit times.
inline std::string movieHeader(std::uint64_t created, int version = 0)
{
    const int width = version == 1 ? 8 : 4;
    return box("mvhd",
        bigEndian(version == 1 ? 0x01000000U : 0U, 4) + bigEndian(created, width)
            + std::string(96, '\0'));
}

// A "meta" box that names two keys, the second of which is the date. In MP4 a version precedes.
inline std::string dateKeyMeta(const std::string& date, bool versioned = false)
{
    const std::string handler = box("hdlr", std::string(24, '\0'));
    const auto key = [](const std::string& name) {
        return bigEndian(name.size() + 8, 4) + "mdta" + name;
    };
    const std::string keys = box("keys",
        bigEndian(0, 4) + bigEndian(2, 4) + key("com.apple.quicktime.make")
            + key("com.apple.quicktime.creationdate"));
    const auto value = [](std::uint32_t index, const std::string& text) {
        return box(bigEndian(index, 4), box("data", bigEndian(1, 4) + bigEndian(0, 4) + text));
    };
    const std::string list = box("ilst", value(1, "Maker") + value(2, date));
    return box("meta", (versioned ? bigEndian(0, 4) : std::string()) + handler + keys + list);
}

inline std::string fileType(const std::string& brand = "qt  ")
{
    return box("ftyp", brand + bigEndian(0, 4) + brand);
}

inline std::string aviMovie(const std::string& headers)
{
    return chunk("RIFF",
        "AVI " + chunk("LIST", "hdrl" + chunk("avih", std::string(56, '\0')) + headers)
            + chunk("LIST", "movi" + chunk("00dc", "picture")));
}

} // namespace mfx::tests
