// The byte string of a preferences record. Owns a copy of its bytes. Begins with one reference,
// which belongs to whoever keeps the record; the count is atomic, since the last release may come
// from another thread. Answers no interface number.
#pragma once

#include "TevoroAppManager/contract/IEnum.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>

class CBuffEnumArbitraryData final : public IEnumArbitraryData {
public:
    CBuffEnumArbitraryData(const void* data, std::uint32_t size)
        : m_bytes(new unsigned char[size])
        , m_length(size)
    {
        if (size != 0)
            std::memcpy(m_bytes.get(), data, size);
    }
    CBuffEnumArbitraryData(const CBuffEnumArbitraryData&) = delete;
    CBuffEnumArbitraryData& operator=(const CBuffEnumArbitraryData&) = delete;

    // Returns 0 for every id and leaves `out` alone.
    std::uint32_t QueryInterface(long, void**) override { return 0; }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override
    {
        const std::uint32_t before = m_references.fetch_sub(1);
        if (before == 1)
            delete this;
        return before - 1;
    }

    FxStatus GetCount(long* out) override
    {
        *out = static_cast<long>(m_length);
        return kFxOk;
    }

    // `record` is a CPropBuffer. Copies the smaller of the bytes left and the length asked for,
    // then caps the record's length by the bytes still left; so the length is no count of what
    // came: after the last piece it is 0.
    FxStatus Next(CProp* record) override
    {
        if (!record || record->size != kFxSizeBuffer)
            return kFxErrBadRecord;
        auto& piece = *static_cast<CPropBuffer*>(record);
        if (m_position >= m_length)
            return kFxEndOfList;
        const std::uint32_t count = std::min(m_length - m_position, piece.length);
        std::memcpy(piece.buffer, m_bytes.get() + m_position, count);
        m_position += count;
        piece.length = std::min(piece.length, m_length - m_position);
        return kFxOk;
    }

    FxStatus Reset() override
    {
        m_position = 0;
        return kFxOk;
    }

private:
    ~CBuffEnumArbitraryData() = default;

    std::unique_ptr<unsigned char[]> m_bytes;
    std::uint32_t m_position = 0;
    std::uint32_t m_length;
    std::atomic<std::uint32_t> m_references{1};
};
