// What a queue asks of a message that waits in it: whether it has expired, whether it is a watcher,
// how large it is; and the notice to its sender when it goes. Borrows the message, which nobody
// changes meanwhile.
#pragma once

#include "messaging/Message.h"
#include "messaging/TevoroTalkUtils.h"
#include "messaging/wire/Forwarding.h"

#include <limits>

namespace ScObjects::TevoroTalkData {

inline constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

bool isWatcher(const TevoroTalk::Message& message);
// Whether it is the watcher for an answer to that message: from a sender to itself, to tell it that
// none has come.
bool watchesFor(const TevoroTalk::Message& message, std::uint32_t serialNumber);
// Whether one of its answer numbers is that one; any message for QK_INVALID_MESSAGE_NUMBER.
bool matches(const TevoroTalk::Message& message, std::uint32_t number);

// Seconds since 1970; kNever if it does not expire by the clock.
std::int64_t deadlineOf(const TevoroTalk::Message& message);
// Fills in what the sender has left open: when the message came about and how long it may wait.
void completeTimes(TevoroTalk::Message& message);
// Of all texts that the message keeps.
std::size_t bytesOf(const TevoroTalk::Message& message);

// Whether the message has expired. Without a timeout it never expires, except for watchers, which
// expire at once.
bool hasTimedOut(const TevoroTalk::Message& message, std::int64_t now);

// Notifies the sender of a message that left a queue, if it asked for `word`. True if the notice
// was sent.
bool notifySender(
    const TevoroTalk::Message& message, const SoString& word, const SoString& diagnosticsRoot);

// Forwards it under "FWDMESSAGES". The root is asked for only when somebody subscribed: every
// message passes this several times.
template <typename Root>
void forwardStep(const TevoroTalk::Message& message, const Root& rootOf, const char* label)
{
    if (!hasSubscriber("FWDMESSAGES"))
        return;
    const SoString root = rootOf();
    if (!root.isEmpty() && message.type != kDebug)
        TevoroTalkUtils::forwardMessage(message, "FWDMESSAGES", root, label);
}

} // namespace ScObjects::TevoroTalkData
