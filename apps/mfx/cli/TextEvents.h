// A download told to a person: problems and messages on standard error, the plan and the summary on
// standard output, progress on a terminal.
#pragma once

#include "mfx/cli/ProgressLine.h"
#include "mfx/cli/Question.h"
#include "mfx/engine/sink/DownloadEvents.h"
#include "platform/common/threads/Lock.h"

namespace mfx {

class TextEvents final : public DownloadEvents {
public:
    TextEvents(bool quiet, bool dryRun, Answering answering);

    void source(const std::string& name, std::size_t items, std::uint64_t bytes) override;
    void item(const ItemEvent& event) override;
    void message(const std::string& title, const std::string& body) override;
    Answer question(const std::string& title, const std::string& body) override;
    bool isHeard() const override;
    void progress(const ProgressEvent& event) override;
    void summary(const DownloadSummary& summary) override;

private:
    void report(const std::string& message);
    void clearLine(bool isAsking = false);

    const bool m_quiet;
    const bool m_dryRun;
    const Answering m_answering;
    mutable Pt::Lock m_lock;
    ProgressLine m_line TEVORO_GUARDED_BY(m_lock);
    bool m_isAsking TEVORO_GUARDED_BY(m_lock) = false; // the line stays out of the answer
};

} // namespace mfx
