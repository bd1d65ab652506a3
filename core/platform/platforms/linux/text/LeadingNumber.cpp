#include "platform/common/text/LeadingNumber.h"

#include <cstdlib>

#include <locale.h>

namespace Pt {

double leadingNumber(const char* text)
{
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtod_l(text, nullptr, plain);
}

} // namespace Pt
