// A download told to a program: one JSON object per line on standard output.
#pragma once

#include "mfx/cli/Question.h"
#include "mfx/engine/DownloadEvents.h"

namespace mfx {

class JsonEvents final : public DownloadEvents {
public:
    explicit JsonEvents(Answering answering)
        : m_answering(answering)
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
    const Answering m_answering;
};

} // namespace mfx
