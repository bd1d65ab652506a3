// Keeps a subscriber alive while a message is forwarded to it.
#pragma once

#include <mutex>

namespace ScObjects::TevoroTalkData {

// Held while a subscriber is called, and while subscribers change, which happens on other threads.
// Taken after the lock of the bus's thread, never before it.
std::recursive_mutex& forwardingLock();

// Whether there is a subscriber for that key. Checked first, for every message.
bool hasSubscriber(const char* key);

} // namespace ScObjects::TevoroTalkData
