// A run of the program mfx that is watched while it goes on: its output is read as slowly as the
// test likes, which holds the run where it is, and where it has a terminal, its question waits for
// the test's answer. It does not outlive the test. One thread.
#pragma once

#include "e2e/support/MfxRun.h"

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace e2e {

// What the program finds when it starts.
struct LiveSettings {
    test::Variables environment;
    bool hasTerminal = false; // for its input and its messages; standard output stays ours
    std::function<void()> inChild; // right before the program; must not allocate
};

class LiveRun {
public:
    LiveRun(std::vector<std::string> words, LiveSettings settings);
    ~LiveRun();
    LiveRun(const LiveRun&) = delete;
    LiveRun& operator=(const LiveRun&) = delete;

    // Reads no further than to the end of the first line with these words. The program can write a
    // page more, then it waits.
    bool waitForLine(const std::string& words);

    // What stands on its terminal; until then its output is read and kept.
    bool waitForQuestion();
    void type(const std::string& answer);

    void signal(int number) const;
    void stopListening(); // whoever read its output went away
    pid_t id() const { return m_id; }

    // Reads all and waits for its end.
    RunResult finish();

private:
    [[noreturn]] void become(
        char* const* words, char* const* variables, int out, const LiveSettings& settings);
    bool readPiece(std::size_t atMost);
    bool readScreen();

    pid_t m_id = -1;
    int m_output = -1;
    int m_terminal = -1; // our end
    RunResult m_result;
};

} // namespace e2e
