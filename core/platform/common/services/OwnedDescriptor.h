// Owns one open descriptor and closes it in its destructor. Whatever keeps a descriptor keeps it in
// one of these. Movable, not copyable; one thread at a time.
#pragma once

#include <utility>

namespace Pt {

class OwnedDescriptor {
public:
    OwnedDescriptor() = default;
    // -1 for none.
    explicit OwnedDescriptor(int number)
        : m_number(number)
    {
    }
    OwnedDescriptor(OwnedDescriptor&& other) noexcept
        : m_number(std::exchange(other.m_number, -1))
    {
    }
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
    ~OwnedDescriptor();

    int get() const { return m_number; }
    bool isOpen() const { return m_number != -1; }
    // Gives up ownership to the caller.
    int release() { return std::exchange(m_number, -1); }

private:
    int m_number = -1;
};

} // namespace Pt
