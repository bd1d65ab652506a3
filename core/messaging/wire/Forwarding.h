// Keeps a subscriber alive while a message is forwarded to it.
#pragma once

#include <mutex>
#include <string_view>

namespace ScObjects::TevoroTalkData {

// Held while a subscriber is called, and while subscribers change, which happens on other threads.
// Taken after the lock of the bus's thread, never before it.
std::recursive_mutex& forwardingLock();

// The keys under which pings subscribe to copies, "FWDMESSAGES" and its like. A handler with one of
// these types may be replaced, and deleted, by the thread of the bus at any moment: it is looked up
// and called only with the lock above.
bool isForwardingKey(std::string_view key);

// Whether there is a subscriber for that key. Checked first, for every message.
bool hasSubscriber(const char* key);

} // namespace ScObjects::TevoroTalkData
