// Local ports: named mailboxes of the processes of one user on one machine. A name is held by one
// process at a time; whoever knows it can put whole texts into the mailbox. A port knows nothing of
// what the texts say.
//
// A name may have any bytes and any length; a text any bytes, from 1 byte to kLargestText. No text
// arrives cut, doubled or, from one sender object, out of order. The name is free the moment its
// holder is gone, also by a kill. Processes of other users are kept out on both sides.
//
// The folder of the ports is TEVOROTALK_PORT_DIR, else "tevorotalk" in the runtime folder, else
// /tmp/tevorotalk-<user id>; it is looked up at each call. A folder that cannot be trusted (a link,
// somebody else's, open to others) is refused with one message on standard error a process.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Pt {

// The receiving side. An object is used by one thread at a time, but for descriptor(), which any
// thread may ask and wait on, and for wait() after wakeOn(), in which one thread may be meanwhile.
class LocalPort {
public:
    // A longer text is neither sent nor received.
    static constexpr std::size_t kLargestText = std::size_t{256} * 1024 * 1024;

    // Takes the name, without waiting. Nothing when it is held, or when the folder cannot be used.
    static std::unique_ptr<LocalPort> hold(std::string_view name);

    // Lets the name go; texts that were not taken are lost.
    ~LocalPort();
    LocalPort(const LocalPort&) = delete;
    LocalPort& operator=(const LocalPort&) = delete;

    // Called once for each text; the bytes are valid during the call only, and may be changed in
    // place. May throw: the text counts as taken, and receive() passes the exception on.
    using Taker = std::function<void(char* text, std::size_t size)>;

    // Gives the texts that are there to `take`, without waiting. The number given. Of one sender no
    // more than half a megabyte and one text at a time: large texts that are handled one by one
    // leave their memory to the next, and meanwhile nobody else's are taken. While the process has
    // no descriptors left, new senders wait, and a text too long for a packet is lost. Not to be
    // called by `take`.
    std::size_t receive(const Taker& take);
    // Whether the last receive() left texts of a sender to the next.
    bool hasMore() const;

    // The text that the last wait() ended for, without another look at what is there: one at most,
    // and none when the wait ended for something else. Whoever waits for an answer has it sooner.
    // When another sender's texts were begun in this way, the rest of those instead.
    std::size_t receiveAwaited(const Taker& take);

    // Readable (poll, epoll, select) while receive() has something to do, which may be no more than
    // a sender that left. Belongs to the port: wait on it, do not read or close it.
    int descriptor() const;

    // Waits until descriptor() is readable, or a descriptor that was added here, at the latest
    // after `limit`; a negative one waits for ever. Does without the detour over a set of
    // descriptors, which costs time at every text. Added descriptors are borrowed, and do not show
    // in descriptor().
    bool wait(std::chrono::milliseconds limit);
    void wakeOn(int other);

    const std::string& name() const;

private:
    struct State;
    explicit LocalPort(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

// The sending side. Keeps its connections and uses them again. One thread at a time.
class LocalPortSender {
public:
    LocalPortSender();
    ~LocalPortSender();
    LocalPortSender(const LocalPortSender&) = delete;
    LocalPortSender& operator=(const LocalPortSender&) = delete;

    // Puts a text into the mailbox of that name. False, and nothing of the text delivered: at once
    // when nobody holds the name, after `patience` when the holder does not make room; and for an
    // empty or too long text.
    bool send(std::string_view name, std::string_view text, std::chrono::milliseconds patience);
    // The same of a text that lies in two pieces.
    bool send(std::string_view name,
        std::string_view head,
        std::string_view rest,
        std::chrono::milliseconds patience);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// Whether nobody holds the name. Takes nothing: the name stays open to others while this asks.
bool isLocalPortFree(std::string_view name);

struct HeldPort {
    std::string name;
    long processId = 0;
};

// The ports that are held at this moment in this user's folder, in the order of their names.
std::vector<HeldPort> heldLocalPorts();
// The same; `error` says why the folder was not read to its end. A missing folder is none.
std::vector<HeldPort> heldLocalPorts(std::error_code& error);

// The folder that ports lie in, whether it is there or not.
std::string localPortFolder();

} // namespace Pt
