#include "lexkit/private/BinaryFormId.h"

#include <cstring>
#include <ostream>

namespace lexkit_private {

bool isBinaryId(const void* bytes)
{
    return std::memcmp(bytes, zbfidstr, kBinaryIdLength) == 0;
}

unsigned long zbfwrite_zbfid(std::ostream& stream, const zbfid_& id)
{
    char head[kBinaryHeadLength];
    std::memcpy(head, id.id, kBinaryIdLength);
    head[kBinaryIdLength] = static_cast<char>(id.major);
    head[kBinaryIdLength + 1] = static_cast<char>(id.minor);
    head[kBinaryIdLength + 2] = static_cast<char>(id.selector);
    // The buffer does not tell the stream about a short write, so we do.
    const auto written = stream.rdbuf()->sputn(head, sizeof head);
    if (written != sizeof head)
        stream.setstate(std::ios::badbit);
    return static_cast<unsigned long>(written);
}

} // namespace lexkit_private
