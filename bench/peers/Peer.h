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
    virtual const char* name() const = 0;

    // Before the processes part.
    virtual void prepare() { }
    // In the other process: answers each text with itself, for ever.
    virtual void serve(const std::function<void()>& ready) = 0;
    // In the other process: takes so many texts that nobody waits for an answer to, then says so.
    virtual void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) = 0;

    virtual void connect() = 0;
    // One text there and one back.
    virtual void ask(const std::string& text) = 0;
    // One text there.
    virtual void tell(const std::string& text) = 0;
    virtual void disconnect() = 0;
};

// Ends the program with the name of what failed.
void require(bool holds, const char* what);

// `folder` is a place for sockets.
std::unique_ptr<Peer> makeBarePacketPeer();
std::unique_ptr<Peer> makeTevoroTalkPeer();
std::unique_ptr<Peer> makeDBusPeer(const std::string& folder);
std::unique_ptr<Peer> makeZeroMQPeer(const std::string& folder);
std::unique_ptr<Peer> makeNngPeer(const std::string& folder);

} // namespace bench
