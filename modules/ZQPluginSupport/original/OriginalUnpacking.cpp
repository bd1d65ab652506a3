#include "ZQPluginSupport/original/EmbeddedLayout.h"
#include "ZQPluginSupport/original/EmbeddedOriginal.h"

#include <algorithm>
#include <array>

#include <zlib.h>

namespace dng {

namespace {

using Bytes = std::vector<std::uint8_t>;

// Of 64 KB that cannot be compressed hardly more comes out, whoever did it.
constexpr std::uint32_t kMaxBlock = 2 * kBlockBytes;
constexpr std::uint16_t kTypeByte = 1;
constexpr std::uint16_t kTypeUndefined = 7;

std::uint32_t numberAt(const std::uint8_t* bytes)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8U | bytes[i];
    return number;
}

class Unpacking {
public:
    Unpacking(const ByteSource& file, const TiffEntry& value)
        : m_file(file)
        , m_value(value)
    {
    }

    // Reads the length and the offsets, and looks whether they can be.
    UnpackResult readHead()
    {
        if (m_value.type != kTypeUndefined && m_value.type != kTypeByte)
            return UnpackResult::kDamaged;
        std::array<std::uint8_t, 4> first{};
        if (m_value.count < first.size())
            return UnpackResult::kDamaged;
        if (!m_file.read(m_value.valueOffset, first))
            return UnpackResult::kUnreadable;
        m_length = numberAt(first.data());
        const std::uint64_t head = headBytes(m_length);
        if (head > m_value.count)
            return UnpackResult::kDamaged;
        Bytes offsets(static_cast<std::size_t>(head) - 4);
        if (!m_file.read(m_value.valueOffset + 4, offsets))
            return UnpackResult::kUnreadable;
        for (std::size_t at = 0; at < offsets.size(); at += 4)
            m_offsets.push_back(numberAt(&offsets[at]));
        return isInOrder(head) ? UnpackResult::kUnpacked : UnpackResult::kDamaged;
    }

    std::uint32_t length() const { return m_length; }
    std::size_t blocks() const { return blocksOf(m_length); }

    // One block, as it was in the file.
    UnpackResult unpack(std::size_t index, Bytes& plain)
    {
        m_block.resize(m_offsets[index + 1] - m_offsets[index]);
        if (!m_file.read(m_value.valueOffset + m_offsets[index], m_block))
            return UnpackResult::kUnreadable;
        const std::uint64_t left = m_length - std::uint64_t{index} * kBlockBytes;
        plain.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, kBlockBytes)));
        auto size = static_cast<uLongf>(plain.size());
        auto used = static_cast<uLong>(m_block.size());
        const int result = uncompress2(plain.data(), &size, m_block.data(), &used);
        const bool isWhole = result == Z_OK && size == plain.size() && used == m_block.size();
        return isWhole ? UnpackResult::kUnpacked : UnpackResult::kDamaged;
    }

private:
    bool isInOrder(std::uint64_t head) const
    {
        if (m_offsets.empty())
            return true;
        // One that lies before the last is far behind it, without a sign.
        for (std::size_t i = 1; i < m_offsets.size(); ++i)
            if (m_offsets[i] - m_offsets[i - 1] > kMaxBlock)
                return false;
        return m_offsets.front() == head && m_offsets.back() <= m_value.count;
    }

    const ByteSource& m_file;
    const TiffEntry& m_value;
    std::uint32_t m_length = 0;
    std::vector<std::uint32_t> m_offsets; // of each block, and of the end
    Bytes m_block;
};

} // namespace

UnpackResult unpackOriginal(const ByteSource& file,
    const TiffEntry& value,
    const std::optional<OriginalRecord>& record,
    const ByteSink& sink,
    Pt::ContentDigest* content)
{
    Unpacking unpacking(file, value);
    if (const UnpackResult result = unpacking.readHead(); result != UnpackResult::kUnpacked)
        return result;
    if (record && record->content.size != unpacking.length())
        return UnpackResult::kDamaged;
    Pt::ContentDigester digester;
    Bytes plain;
    for (std::size_t i = 0; i < unpacking.blocks(); ++i) {
        const UnpackResult result = unpacking.unpack(i, plain);
        if (result != UnpackResult::kUnpacked)
            return result;
        digester.add(plain.data(), plain.size());
        if (!sink(plain))
            return UnpackResult::kSinkRefused;
    }
    const Pt::ContentDigest digest = digester.finish();
    if (content)
        *content = digest;
    return !record || record->content == digest ? UnpackResult::kUnpacked : UnpackResult::kDamaged;
}

} // namespace dng
