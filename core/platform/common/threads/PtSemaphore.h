#pragma once

#include <string>

namespace Pt {

// A counting semaphore. It uses a named semaphore of the system, for systems that have no others.
// The name, unique on this machine, is made here and removed with the object (a killed process
// leaves it behind). Any thread may post and wait; nobody may be waiting when it is destroyed.
// Failures of the system are thrown as ExSystem, also by the destructor, which first reports them
// on standard error.
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
