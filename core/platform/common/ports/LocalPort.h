// Local ports: named mailboxes for the processes of one user on one machine. A name is held by one
// process at a time; whoever knows it can send whole texts to the mailbox. A port does not
// interpret the texts.
//
// Names may contain any bytes and have any length. Texts may contain any bytes, from 1 byte to
// kMaxText. No text arrives truncated or duplicated, nor out of order if one thread sent them
// by one sender object. The name becomes free the moment its holder ends, even if it is killed.
// Both sides refuse processes of other users.
//
// The folder of the ports is TEVOROTALK_PORT_DIR alone if that is set. Else there are several
// places: "tevorotalk" in the runtime folder, /tmp/tevorotalk-<user id>, .velmo/ports in the home
// folder. A name is taken in the first that can be used and looked for in all; they are looked up
// at each call. A folder that cannot be trusted (a link, somebody else's, open to others) is not
// used, with one message per process on standard error.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Pt {

// The receiving side. One thread at a time, except for descriptor(), which any thread may call and
// wait on, and for wait() after wakeOn(), in which one other thread may be at the same time.
class LocalPort {
public:
    // A longer text is neither sent nor received.
    static constexpr std::size_t kMaxText = std::size_t{256} * 1024 * 1024;

    // Takes the name, without waiting. Null if it is held, or if the folder cannot be used.
    static std::unique_ptr<LocalPort> hold(std::string_view name);

    // Releases the name; unread texts are lost.
    ~LocalPort();
    LocalPort(const LocalPort&) = delete;
    LocalPort& operator=(const LocalPort&) = delete;

    // Called once per text. The bytes are valid during the call only, and may be modified in place.
    // May throw: the text counts as taken, and receive() passes the exception on. Only after
    // std::bad_alloc, with the bytes as they were, it counts as not taken: the port keeps it, has
    // more, becomes readable within a tenth of a second, and passes it on first in the next call.
    using Taker = std::function<void(char* text, std::size_t size)>;

    // How much one call passes on: it ends as soon as that many texts, or that many bytes, have
    // been taken. The last text may be longer than what is left of the bytes. Nothing of either is
    // room for nothing.
    struct Bound {
        std::size_t texts = SIZE_MAX;
        std::size_t bytes = SIZE_MAX;
    };

    // Passes the texts that have arrived to `take`, without waiting. Returns their number. Stops
    // after half a megabyte and one text of one sender, so that large texts can be handled one by
    // one and reuse their memory; the rest of that sender's backlog comes next, before other
    // senders. Must not be called from `take`.
    //
    // Before the process comes to the end of its descriptors, the connections that were idle for
    // longest are closed; their senders connect afresh, and no text is lost or overtaken by that.
    // While no descriptor is left at all, new senders wait, and a text too long for a packet is
    // lost.
    std::size_t receive(const Taker& take);
    // The same up to a bound. What finds no room stays where it is, in its order, keeps
    // descriptor() readable, and lets its senders wait once their buffers are full.
    std::size_t receive(const Taker& take, const Bound& room);
    // Whether the last receive() left texts of a sender for the next one, or may have left some
    // because it came to its bound.
    bool hasMore() const;

    // Passes on only the text that ended the last wait(), without looking for others: one at most,
    // and none if the wait ended for something else. So whoever waits for an answer gets it sooner.
    // If another sender's backlog was begun in this way, continues with that instead.
    std::size_t receiveAwaited(const Taker& take);
    // The same; with room for nothing it takes nothing, and the wait counts as still unanswered.
    std::size_t receiveAwaited(const Taker& take, const Bound& room);

    // Readable (poll, epoll, select) while receive() has something to do, which may be just a
    // sender that disconnected. Belongs to the port: wait on it, do not read or close it.
    int descriptor() const;

    // Waits until descriptor(), or a descriptor added by wakeOn(), is readable, with a timeout; a
    // negative limit waits for ever. Faster than waiting on descriptor(), which is a set of
    // descriptors. Added descriptors are borrowed, and do not make descriptor() readable.
    bool wait(std::chrono::milliseconds limit);
    void wakeOn(int other);

    const std::string& name() const;

    // Looks whether the files that make the name this port's are still there, which costs three
    // calls of the system, and puts them back if something has removed them, or their folder; for
    // now and then. Texts that were accepted are not lost. False if somebody else has taken the
    // name meanwhile, or the system refuses: senders do not reach the port then, except over
    // connections that they have; a later call may succeed.
    bool keepName();

    // Releases the name before the port itself goes: the files are removed, and nobody finds the
    // port any more. Texts still come over the connections that are there. For the end of a process
    // that does not destroy its objects.
    void giveUpName();

private:
    struct State;
    explicit LocalPort(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

// The sending side. Caches its connections and reuses them; when descriptors are short, it closes
// those without unread texts, and a send waits for descriptors as it does for room. Any number of
// threads may send at once; one that waits holds up no other, whatever the targets.
class LocalPortSender {
public:
    LocalPortSender();
    ~LocalPortSender();
    LocalPortSender(const LocalPortSender&) = delete;
    LocalPortSender& operator=(const LocalPortSender&) = delete;

    // Sends a text to the mailbox of that name. On false no part of it was delivered: at once if
    // nobody holds the name, or if the text is empty or too long; after the timeout `patience` if
    // the holder does not read. With no patience it tries once and never waits. A holder that does
    // not read gets as many short texts as its buffer holds, and 16 MiB of those too long for a
    // packet, or one that is longer, on each connection.
    bool send(std::string_view name, std::string_view text, std::chrono::milliseconds patience);
    // The same for a text in two pieces.
    bool send(std::string_view name,
        std::string_view head,
        std::string_view rest,
        std::chrono::milliseconds patience);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// From now on this process waits for no other: sends try once, and those that wait return within a
// moment. For the end of a program. Safe in a signal handler.
void stopWaitingForOthers();
bool waitsForOthers();

// Whether nobody holds the name. Does not take the name, not even for a moment.
bool isLocalPortFree(std::string_view name);

struct HeldPort {
    std::string name;
    long processId = 0;
};

// The ports in this user's folders that are held now, sorted by name.
std::vector<HeldPort> heldLocalPorts();
// The same; `error` says why the folders were not read completely. A missing folder is no error.
std::vector<HeldPort> heldLocalPorts(std::error_code& error);

// The folder that a port is held in next: the first place that can be used, whether it exists or
// not; the first of all when none can.
std::string localPortFolder();

} // namespace Pt
