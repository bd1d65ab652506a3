// Follows what becomes of the script that the sink sends to the browser, and of the browser: the
// sink itself tells nobody. Made on the sink's thread before it sends, and destroyed there, within
// the sink's session; meanwhile the sink's own handler of answers gets them through this one.
//
// Any thread may ask, one at a time.
#pragma once

#include "messaging/SoString.h"

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

namespace mfx {

class BrowserWatch {
public:
    BrowserWatch();
    ~BrowserWatch();
    BrowserWatch(const BrowserWatch&) = delete;
    BrowserWatch& operator=(const BrowserWatch&) = delete;

    // Whether the script's result has come.
    bool isShown() const { return m_hasResult; }
    // Whether it was taken, and ended without a result.
    bool hasFailed() const { return m_isProcessed && !m_hasResult; }
    // Whether no browser is there any more, or yet, for a while: a program may only be there to
    // start another one, and the bus may be waiting for somebody else who starts it. Looks at
    // processes and names, and waits for nobody.
    bool isGone();

    // Why nothing is shown, in a sentence; nothing where it is shown.
    std::optional<std::string> whyNotShown() const;

private:
    class Answers;

    bool isThere() const;
    bool wasStarted() const;

    const ScObjects::SoString m_target; // in full
    Answers* m_answers = nullptr; // the instance's; null where there is none
    std::atomic<bool> m_hasResult = false;
    std::atomic<bool> m_isProcessed = false;
    std::atomic<bool> m_isGone = false;
    std::atomic<bool> m_wasThere = false;
    std::optional<std::chrono::steady_clock::time_point> m_missedSince; // of isGone() alone
};

} // namespace mfx
