// A run of bytes as key. Keys are alike when their lengths and all bytes are. A key either copies
// its bytes or refers to bytes that outlive it; a copy of a key always has its own.
#pragma once

#include "lexkit/private/HashItem.h"

namespace lexkit_private {

class ByteRunKey : public HashItem {
public:
    static constexpr std::uint32_t kMaxLength = 0x7FFFFFFF; // bytes

    // Copies the bytes only when told so. Throws LXErrException (bad parameter) for a key that is
    // longer than kMaxLength.
    ByteRunKey(const void* data, unsigned long length, bool copy);
    ByteRunKey(const ByteRunKey& other);
    ByteRunKey& operator=(const ByteRunKey&) = delete;
    ~ByteRunKey() override;

    const unsigned char* GetData() const { return m_data; } // null when the length is 0
    std::uint32_t GetLength() const { return m_length; }
    bool OwnsData() const { return m_ownsData; }

    // A key by itself writes what an entry with an empty value does.
    unsigned long Serialize(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const override;
    unsigned long SerializeKey(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const override;
    unsigned long SerializeValue(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const override;

    // Samples at most nine bytes. Every writer and reader of the binary form goes by this.
    std::uint32_t Hash(unsigned long size) const override;
    bool operator==(const HashItem& other) const override;
    std::uint32_t IndexHash(std::uint64_t seed) const override;

private:
    std::uint32_t m_length : 31;
    std::uint32_t m_ownsData : 1;
    const unsigned char* m_data;
};

} // namespace lexkit_private
