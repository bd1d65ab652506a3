// One way for two processes to talk, as the benchmark of the bus drives it: one process serves
// until it is killed, the other asks. Both wait for each other in the kernel.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace bench {

class Peer {
public:
    virtual ~Peer() = default;
    virtual char const* name() const = 0;

    // Before the processes part.
    virtual void prepare() { }
    // In the other process: answers each text with itself, for ever.
    virtual void serve(std::function<void()> const& ready) = 0;
    // In the other process: takes so many texts that nobody waits for an answer to, then says so.
    virtual void sink(std::size_t count,
        std::function<void()> const& ready,
        std::function<void()> const& done) = 0;

    virtual void connect() = 0;
    // One text there and one back.
    virtual void ask(std::string const& text) = 0;
    // One text there.
    virtual void tell(std::string const& text) = 0;
    virtual void disconnect() = 0;
};

// Ends the program with the name of what failed.
void require(bool holds, char const* what);

// `folder` is a place for sockets.
std::unique_ptr<Peer> makeBarePacketPeer();
std::unique_ptr<Peer> makeTevoroTalkPeer();
std::unique_ptr<Peer> makeDBusPeer(std::string const& folder);
std::unique_ptr<Peer> makeZeroMQPeer(std::string const& folder);
std::unique_ptr<Peer> makeNngPeer(std::string const& folder);

} // namespace bench
