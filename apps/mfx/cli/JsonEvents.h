// A download told to a program: one JSON object per line on standard output. Progress is told twice
// a second at most, so that a short run tells none.
#pragma once

#include "mfx/cli/Question.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "platform/common/threads/Lock.h"

#include <chrono>

namespace mfx {

class JsonEvents final : public DownloadEvents {
public:
    explicit JsonEvents(
        Answering answering, std::chrono::milliseconds pause = std::chrono::milliseconds(500))
        : m_answering(answering)
        , m_pause(pause)
    {
    }

    void source(const std::string& name, std::size_t items, std::uint64_t bytes) override;
    void item(const ItemEvent& event) override;
    void message(const std::string& title, const std::string& text) override;
    Answer question(const std::string& title, const std::string& text) override;
    bool isHeard() const override;
    void progress(const ProgressEvent& event) override;
    void summary(const DownloadSummary& summary) override;

private:
    using Clock = std::chrono::steady_clock;

    const Answering m_answering;
    const std::chrono::milliseconds m_pause; // between two tellings of progress
    mutable Pt::Lock m_lock; // held for the length of a line
    // The last progress, or the source.
    std::optional<Clock::time_point> m_lastReport TEVORO_GUARDED_BY(m_lock);
    bool m_hasReported TEVORO_GUARDED_BY(m_lock) = false;
};

} // namespace mfx
