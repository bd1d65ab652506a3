#pragma once

#include <string>

namespace Pt {

// A counter that threads wait on. It is a named one of the system, so that it also works where
// there are no others; the name, unique on this machine, is made here and gone with the object (a
// process that is killed leaves it behind). Any thread may post and wait; nobody may wait any more
// when it goes. Failures of the system are thrown as ExSystem, also by the destructor, which tells
// them on standard error first.
class Semaphore {
public:
    // Always starts at 0: the initial count is kept and not used.
    explicit Semaphore(int initialCount = 0);
    ~Semaphore() noexcept(false);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Adds 1, and wakes one that waits.
    void post();

    // Blocks until the count is above 0 and takes 1. Signals do not end the wait.
    void wait();

    int initialCount() const { return m_initialCount; }
    const std::string& name() const { return m_name; }

private:
    const int m_initialCount;
    void* m_semaphore;
    std::string m_name;
};

} // namespace Pt
