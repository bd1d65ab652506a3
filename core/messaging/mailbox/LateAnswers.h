// Answers for which there was no room at their target when the thread of the bus sent them. That
// thread waits for nobody, so they are kept and tried again without waiting, for as long as another
// thread would have waited. In order for each target, and bounded: whoever asks much and reads
// nothing gets no answers.
//
// Any thread may call.
#pragma once

#include "messaging/SoString.h"
#include "platform/common/threads/Lock.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>

namespace ScObjects::TevoroTalkData {

class LateAnswers {
public:
    static constexpr std::size_t kMaxTexts = 1024;
    static constexpr std::size_t kMaxBytes = std::size_t{1} << 20;

    // Sends a text without waiting.
    using Attempt = std::function<bool(const SoString& target, const SoString& text)>;

    // False, and nothing is kept, when too much is kept already.
    bool keep(const SoString& target, const SoString& text, std::chrono::milliseconds patience);
    bool holdsFor(const SoString& target) const;
    bool isEmpty() const { return m_count == 0; }

    // Tries each text but those behind one of the same target that found no room. Those whose time
    // is over are dropped, and `giveUp` gets their target.
    void retry(const Attempt& attempt, const std::function<void(const SoString& target)>& giveUp);

private:
    struct Answer {
        SoString target;
        SoString text;
        std::chrono::steady_clock::time_point deadline;
    };

    mutable Pt::Lock m_lock;
    std::deque<Answer> m_answers TEVORO_GUARDED_BY(m_lock);
    std::size_t m_bytes TEVORO_GUARDED_BY(m_lock) = 0;
    std::atomic<std::size_t> m_count{0}; // asked with every message
};

} // namespace ScObjects::TevoroTalkData
