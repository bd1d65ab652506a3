// The browser application's image backdrop, which the host's dialogue follows.
#pragma once

#include <cstdint>

// Grey level of the backdrop from 0 to 1: the browser's own setting, an integer from 0 to 255;
// 130 where it has none.
float getBackgroundColor();

// 0xAARRGGBB of that grey, opaque.
std::uint32_t backdropColour(float level);

// 0xAARRGGBB of text that can be read on it: white on dark, black on light.
std::uint32_t textColour(float level);
