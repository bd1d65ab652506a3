// A run of UTF-16 units, shared between copies. All empty runs that were made without bytes share
// one value.
#pragma once

#include "lexkit/EncodingInfo.h"
#include "lexkit/private/ByteRun.h"

#include <iosfwd>

namespace lexkit_private {

class UnicodeRun : public ByteRun {
public:
    UnicodeRun();
    UnicodeRun(const unsigned short* units, unsigned long count);
    UnicodeRun(const unsigned char* bytes, unsigned long byteCount);

    // A run whose units the caller fills in before anything else is done with it.
    static UnicodeRun Unfilled(unsigned long byteCount, unsigned short*& units);

    static const UnicodeRun& EmptyRunInstance();

    unsigned long GetLength() const { return ByteRun::GetLength() / 2; } // units
    unsigned long GetByteLength() const { return ByteRun::GetLength(); }
    const unsigned short* GetUnits() const
    {
        return reinterpret_cast<const unsigned short*>(GetData());
    }
    bool IsEmpty() const { return GetLength() == 0; }
    void Clear() { *this = EmptyRunInstance(); }

    // Writes the value of the binary form: the units in host order for a null encoding, else the
    // text in that encoding. In text form the units as they are. The bytes written.
    unsigned long Serialize(
        std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const;

private:
    explicit UnicodeRun(ByteRunValue* value)
        : ByteRun(value)
    {
    }
};

} // namespace lexkit_private
