// A reference to a run of bytes. Copies share the bytes.
#pragma once

#include "lexkit/private/ByteRunValue.h"
#include "lexkit/private/RefCountPtr.h"

namespace lexkit_private {

class ByteRun : public RefCountPtr<ByteRunValue> {
public:
    // The bytes are always copied, whatever the flag says.
    ByteRun(const void* data, std::uint32_t length, bool)
        : ByteRun(ByteRunValue::FindOrMake(data, length, 0))
    {
    }

    std::uint32_t GetLength() const { return Get()->GetLength(); }
    const unsigned char* GetData() const { return Get()->GetData(); }

    // Whether both refer to the same bytes, or to none; not whether the bytes are alike.
    bool operator==(const ByteRun& other) const { return GetData() == other.GetData(); }

protected:
    explicit ByteRun(ByteRunValue* value)
        : RefCountPtr<ByteRunValue>(value)
    {
    }
};

} // namespace lexkit_private
