#include "lexkit/private/ByteRunValue.h"

#include "lexkit/LXErrException.h"

#include <cstring>

namespace lexkit_private {

ByteRunValue* ByteRunValue::MakeUnfilled(std::uint32_t length)
{
    return new (Room{length}) ByteRunValue(length);
}

ByteRunValue* ByteRunValue::FindOrMake(const void* data, std::uint32_t length, int)
{
    ByteRunValue* const value = MakeUnfilled(length);
    if (length > 0)
        std::memcpy(value->GetRoom(), data, length);
    return value;
}

void ByteRunValue::ValidatePointer(const ByteRunValue* value)
{
    // A count of 0 is what a value has before it is given to anybody and after its last reference.
    if (!value || !value->Exists())
        throw LXErrException(LXErrException::kBadParameter);
}

} // namespace lexkit_private
