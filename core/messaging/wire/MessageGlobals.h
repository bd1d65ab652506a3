// The process-wide switches for digests. Any thread may use them.
#pragma once

#include "messaging/SoHeap.h"

#include <atomic>

namespace ScObjects::TevoroTalkData {

class MessageGlobals final : public SoHeap {
public:
    // Both on, unless the registry says otherwise of this application.
    MessageGlobals();

    static void init();
    static void exit();
    // Created on first use.
    static MessageGlobals& get();

    // Whether a message without the right digest is rejected.
    void setAuthentication(bool on);
    bool getAuthentication() const;
    // Whether messages are written with a digest.
    void setCreateDigest(bool on);
    bool getCreateDigest() const;

private:
    std::atomic<bool> m_authentication{true};
    std::atomic<bool> m_createDigest{true};
};

} // namespace ScObjects::TevoroTalkData
