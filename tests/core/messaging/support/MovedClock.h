#pragma once

#include <cstdint>

namespace test {

// The wall clock of a program that is linked with MovedClock.cpp: it goes as the system's does
// until a test stops it, and then only when the test says so. Any thread may read it.
class MovedClock {
public:
    // Stops it at that time, milliseconds since 1970.
    static void stopAt(std::int64_t milliseconds);
    static void advance(std::int64_t milliseconds);
    static void goOn();
};

} // namespace test
