#include "TevoroAppManager/panel/BackdropColour.h"

#include "platform/common/text/AppPreferences.h"

#include <QString>

namespace {

constexpr float kDefaultLevel = 130;
constexpr float kDarkBelow = 0.47F; // between the levels 119 and 120

} // namespace

float getBackgroundColor()
{
    const auto setting = Pt::appPreference("com.velmo.tevoro4", "ImageBackdrop");
    const float level =
        setting ? static_cast<float>(QString::fromStdString(*setting).toLong()) : kDefaultLevel;
    return static_cast<float>(static_cast<double>(level) / 255.0);
}

std::uint32_t backdropColour(float level)
{
    // A setting beyond its range keeps its low 8 bits.
    const auto grey = static_cast<std::uint32_t>(static_cast<std::int64_t>(level * 255)) & 0xff;
    return 0xff000000 | grey << 16 | grey << 8 | grey;
}

std::uint32_t textColour(float level)
{
    return level < kDarkBelow ? 0xffffffff : 0xff000000;
}
