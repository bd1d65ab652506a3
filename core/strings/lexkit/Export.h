#pragma once

// Marks what the shared library shows; everything else is hidden.
#define LEXKIT_EXPORT __attribute__((visibility("default")))
