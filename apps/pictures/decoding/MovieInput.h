// An open movie in the hands of the movie library, which is stopped on cancellation or after some
// seconds. Only containers that cameras write are let in: others name further files or addresses.
// The library's own words are turned off for the process. One thread; the flag is borrowed.
#pragma once

#include <QSize>
#include <QString>

#include <atomic>
#include <chrono>
#include <string>

struct AVFormatContext;

namespace pictures {

class MovieInput {
public:
    MovieInput(const std::string& path, const std::atomic<bool>* cancelled);
    ~MovieInput();
    MovieInput(const MovieInput&) = delete;
    MovieInput& operator=(const MovieInput&) = delete;

    bool isOpen() const { return m_context != nullptr; }
    QString problem() const { return m_problem; }
    QSize frameSize() const; // of the largest stream, upright, as the header says
    AVFormatContext* context() const { return m_context; } // owned here

private:
    static int onInterruptQuestion(void* input);
    bool mustStop() const;
    void open(const std::string& path);

    const std::atomic<bool>* const m_cancelled;
    const std::chrono::steady_clock::time_point m_deadline;
    AVFormatContext* m_context = nullptr;
    QString m_problem;
};

} // namespace pictures
