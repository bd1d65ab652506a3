#include "lexkit/private/unicode/UnicodeRun.h"

#include "lexkit/LXErrException.h"
#include "lexkit/private/unicode/UnicodeUtil.h"

#include <cstring>
#include <limits>
#include <ostream>
#include <vector>

namespace lexkit_private {

namespace {

// Lengths are kept in 32 bits.
std::uint32_t checkedLength(unsigned long byteCount)
{
    if (byteCount > std::numeric_limits<std::uint32_t>::max())
        throw LXErrException(LXErrException::kBadParameter);
    return static_cast<std::uint32_t>(byteCount);
}

unsigned long writeUnits(std::ostream& stream, const UnicodeRun& run)
{
    const unsigned long count = run.GetLength() * 2;
    stream.write(reinterpret_cast<const char*>(run.GetData()), static_cast<std::streamsize>(count));
    return count;
}

unsigned long writeEncoded(
    std::ostream& stream, const UnicodeRun& run, const lexkit::EncodingInfo& encoding)
{
    const unsigned long size =
        UnicodeUtil::FromUnicodeSize(run.GetUnits(), run.GetLength(), &encoding);
    // The size has room for a terminator, which is not written to the stream.
    std::vector<char> text(size);
    const unsigned long count = UnicodeUtil::UnicodeToCString(
        run.GetUnits(), run.GetLength(), text.data(), size, &encoding);
    stream.write(text.data(), static_cast<std::streamsize>(count));
    return count;
}

} // namespace

UnicodeRun::UnicodeRun()
    : UnicodeRun(EmptyRunInstance())
{
}

UnicodeRun::UnicodeRun(const unsigned short* units, unsigned long count)
    // A count that would overflow becomes one that is refused.
    : ByteRun(units, checkedLength(count > ~0ul / 2 ? ~0ul : count * 2), true)
{
}

UnicodeRun::UnicodeRun(const unsigned char* bytes, unsigned long byteCount)
    : ByteRun(bytes, checkedLength(byteCount), true)
{
}

UnicodeRun UnicodeRun::Unfilled(unsigned long byteCount, unsigned short*& units)
{
    UnicodeRun run(ByteRunValue::MakeUnfilled(checkedLength(byteCount)));
    units = reinterpret_cast<unsigned short*>(run->GetRoom());
    return run;
}

// Never destroyed: objects that end after it still refer to it.
const UnicodeRun& UnicodeRun::EmptyRunInstance()
{
    static const UnicodeRun* const empty = new UnicodeRun(ByteRunValue::MakeUnfilled(0));
    return *empty;
}

unsigned long UnicodeRun::Serialize(
    std::ostream& stream, bool binary, const lexkit::EncodingInfo* encoding) const
{
    return binary && encoding ? writeEncoded(stream, *this, *encoding) : writeUnits(stream, *this);
}

} // namespace lexkit_private
