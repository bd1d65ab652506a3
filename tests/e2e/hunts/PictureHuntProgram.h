// The program mfx at work, looked at while it runs: what it printed so far, a terminal to answer
// its question at, a stop in the middle so that the hunt's blows fall between two of its steps.
// It does not outlive the test. One thread.
#pragma once

#include "support/ProgramWords.h"

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

namespace e2e::hunt {

using test::Variables;

class HuntProgram {
public:
    // With a terminal, its standard input and error are one.
    HuntProgram(std::vector<std::string> words, const Variables& variables, bool hasTerminal);
    ~HuntProgram();
    HuntProgram(const HuntProgram&) = delete;
    HuntProgram& operator=(const HuntProgram&) = delete;

    // Reads what comes within that time. False when it has ended.
    bool look(std::chrono::milliseconds time);

    bool hasEnded() const { return m_hasEnded; }
    int code() const; // exit status, or minus the signal that ended it. Requires: it has ended
    const std::string& out() const { return m_out; }
    const std::string& err() const { return m_err; }

    // Whole JSON lines of that kind so far.
    std::vector<nlohmann::json> events(const std::string& kind) const;

    bool asks() const { return m_err.find("[y/N]") != std::string::npos; }
    void answer(const std::string& line);
    void signal(int number) const;

    // Stops it and reads what it had printed by then. False when it ended before.
    bool stop();
    void goOn() const { signal(SIGCONT); }

private:
    bool readSome(int& source, std::string& text);
    void readWhatIsThere();
    void reap();

    pid_t m_id = -1;
    int m_outSource = -1;
    int m_errSource = -1;
    int m_terminal = -1; // its other end is the program's
    int m_status = 0;
    bool m_hasEnded = false;
    std::string m_out;
    std::string m_err;
};

} // namespace e2e::hunt
