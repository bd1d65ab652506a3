#pragma once

#include <cstdint>

namespace test {

// The clock of a program that is linked with MovedClock.cpp: it goes as the system's does until a
// test stops it, and then only when the test says so. Any thread may read it.
class MovedClock {
public:
    // Stops it at that time, milliseconds since 1970.
    static void stopAt(std::int64_t milliseconds);
    // Time passes; a negative one sets the wall clock back.
    static void advance(std::int64_t milliseconds);
    // Sets the wall clock forward or back: no time passes. It need not be stopped.
    static void step(std::int64_t milliseconds);
    // Stops it where it stands.
    static void stop();
    static void goOn();
};

} // namespace test
