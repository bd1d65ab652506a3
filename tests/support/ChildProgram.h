// A program that runs beside the test. It does not outlive the test, even where that is killed, and
// has none of its descriptors. What it prints, on both outputs, is collected. One thread may use
// it.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test {

class ChildProgram {
public:
    // Throws std::runtime_error where it cannot be started.
    explicit ChildProgram(std::vector<std::string> command);

    // Kills it, and waits for its end.
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // Whether the words came in time; false at once when it ends without them.
    bool waitFor(const std::string& words, std::chrono::milliseconds limit);

    // Whether it ended in time.
    bool waitForEnd(std::chrono::milliseconds limit);

    // Does nothing after its end.
    void signal(int number) const;

    // What has been read of its output by the waits.
    const std::string& output() const { return m_output; }

    // Exit status, or minus the signal that ended it. Requires: the end was waited for.
    int code() const;

private:
    bool readMore(std::chrono::steady_clock::time_point deadline);
    void reap();

    pid_t m_id = -1;
    int m_source = -1; // its output
    int m_status = 0;
    bool m_isReaped = false;
    std::string m_output;
};

} // namespace test
