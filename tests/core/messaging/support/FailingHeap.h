#pragma once

#include <cstddef>
#include <limits>

namespace test {

// The largest block that this thread gets from the heap of the bus. For programs that contain
// FailingHeap.cpp and are linked with --wrap=malloc.
extern thread_local std::size_t tLargestBlock;

// Lets larger blocks fail until its end.
class FailingHeap {
public:
    explicit FailingHeap(std::size_t largest) { tLargestBlock = largest; }
    ~FailingHeap() { tLargestBlock = std::numeric_limits<std::size_t>::max(); }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

} // namespace test
