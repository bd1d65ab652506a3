// Which objects of one size this program has made with `new` and not deleted since: what shows that
// somebody who owns objects lets go of them, with a checker for leaks or without.
#pragma once

#include <cstddef>

namespace test {

// Watches from its making to its end; one at a time, on one thread. What libraries make in their
// own code is not seen.
class WatchedBlocks {
public:
    explicit WatchedBlocks(std::size_t size);
    ~WatchedBlocks();
    WatchedBlocks(const WatchedBlocks&) = delete;
    WatchedBlocks& operator=(const WatchedBlocks&) = delete;

    int alive() const;
};

} // namespace test
