// SQLite's calls of the file system, led through the test: they are counted, and one of them can
// fail, or end the process as a kill does. Registered for as long as the object lives, and the
// default for connections that open meanwhile; those close before it. One thread.
#pragma once

#include <string>

namespace velmo_caps {

class FaultyVfs {
public:
    enum class Fault { kError, kKill };

    FaultyVfs();
    ~FaultyVfs();
    FaultyVfs(const FaultyVfs&) = delete;
    FaultyVfs& operator=(const FaultyVfs&) = delete;

    // The call after so many others is the one. Counts from here.
    void arm(int callsBefore, Fault fault);
    void disarm();
    // Whether it has come to that call.
    bool hasHappened() const;
    // Which call that was.
    std::string call() const;

    // The file system has no shared memory from here on.
    void refuseSharedMemory(bool refuse);
    // The disk has no room from here on.
    void fillDisk(bool isFull);
};

} // namespace velmo_caps
