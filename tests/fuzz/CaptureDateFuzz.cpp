// Dates in outside bytes: the texts of cameras, and the containers of movies. What comes out is a
// possible date or nothing.

#include "mfx/engine/dates/CiffDate.h"
#include "mfx/engine/dates/MovieDate.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

void check(const std::optional<mfx::CaptureMoment>& moment)
{
    if (!moment)
        return;
    // A possible date, written out, is read as the same date.
    if (moment->year < 1 || mfx::parseDateText(mfx::isoText(*moment)) != moment)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string text(bytes, bytes + size);
    check(mfx::parseDateText(text));
    check(mfx::parseMovieDateText(text));
    const auto offset = mfx::parseOffset(text);
    const auto fraction = mfx::parseSubSeconds(text);
    if (std::abs(offset.value_or(0)) > 14 * 60 || fraction.value_or(0) > 999'999'999)
        std::abort();
    std::istringstream stream(text);
    check(mfx::movieDate(stream).moment);
    stream.clear();
    check(mfx::ciffDate(stream).moment);
    return 0;
}
