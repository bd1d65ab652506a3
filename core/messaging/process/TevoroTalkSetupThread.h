// Makes the context of the process in the background, so that the start of an application does not
// wait for the bus. The first operation that needs the context joins it.
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
    // Waits until the set-up is done, if it was begun in the background. Always true; at once on
    // the set-up thread itself.
    static bool syncWithSetupThread();
    // Each false when a set-up was done already. runSetup also when the name is unusable.
    static bool startSetupThread(const SoString& appName);
    static bool runSetup(const SoString& appName);

    // A context that goes. If it is the one that was set up, the next set-up begins anew.
    static void forgetContext(const TevoroTalkContext* context);
    // All is as at the start of the process.
    static void startOver();

private:
    SoString m_appName;
    SoString m_errorText;
    std::atomic<bool> m_done{false};
};

} // namespace ScObjects
