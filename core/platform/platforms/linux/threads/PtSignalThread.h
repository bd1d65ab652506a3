#pragma once

#include "platform/common/threads/Lock.h"
#include "platform/common/threads/PtThread.h"

#include <condition_variable>

#include <signal.h>

namespace Pt {

// Waits for the signals of a set, which its creator has blocked, and turns them into calls of the
// handler. Its owner begins it, and ends it with shutDown() before it deletes it.
class PtSignalThread final : public Thread {
public:
    explicit PtSignalThread(const sigset_t& awaited);

    // Whether the caller is such a thread, that is, code that a handler has called.
    static bool isCurrent();

    // Waits until no signal is being handled, then ends and joins the thread. What it had in hand
    // and did not deliver is sent to the process again. Throws ExSystem.
    void shutDown();

protected:
    void start() override;

private:
    // Ends what beginHandling() began, also when the response throws: shutDown() waits for it.
    class Handling;

    bool beginHandling();
    void endHandling();
    void forbidHandling();
    static void respondTo(int number);

    const sigset_t m_awaited;
    Lock m_lock;
    std::condition_variable_any m_idle;
    bool m_inProgress TEVORO_GUARDED_BY(m_lock) = false;
    bool m_isShutDown TEVORO_GUARDED_BY(m_lock) = false;
    int m_undelivered = 0; // read by the owner once the thread is joined
};

} // namespace Pt
