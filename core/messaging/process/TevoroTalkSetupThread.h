// Creates the context of the process in the background, so that the start of an application does
// not wait for the bus. The first operation that needs the context joins this thread.
#pragma once

#include "messaging/SoString.h"
#include "messaging/Thread.h"

namespace ScObjects {

class TevoroTalkContext;

class TevoroTalkSetupThread final : public Thread {
public:
    explicit TevoroTalkSetupThread(const SoString& appName);
    ~TevoroTalkSetupThread() override;

    void run() override;

    static bool isSetupThreadRunning();
    // Waits until a set-up in the background is done. Always true. Returns at once on the set-up
    // thread itself.
    static bool syncWithSetupThread();
    // Both return false if a set-up was done already; runSetup also if the name is unusable.
    static bool startSetupThread(const SoString& appName);
    // With `awaitsInstance`, the thread of the bus starts when the main instance is there.
    static bool runSetup(const SoString& appName, bool awaitsInstance = false);

    // Called when a context is deleted. If it is the one that was set up, another set-up may
    // follow.
    static void forgetContext(const TevoroTalkContext* context);
    // Resets the state to that of a new process.
    static void startOver();

private:
    SoString m_appName;
    SoString m_errorText;
    std::atomic<bool> m_done{false};
};

} // namespace ScObjects
