#include "platform/common/ports/SecureRandom.h"

#include "platform/platforms/linux/services/Retry.h"

#include <sys/random.h>

namespace Pt {

std::optional<std::array<unsigned char, 16>> secureRandom16()
{
    std::array<unsigned char, 16> bytes{};
    // So few come all at once or not at all.
    const ssize_t got =
        retryInterrupted([&] { return ::getrandom(bytes.data(), bytes.size(), 0); });
    if (got != ssize_t{bytes.size()})
        return std::nullopt;
    return bytes;
}

} // namespace Pt
