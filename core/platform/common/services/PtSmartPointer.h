#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace Pt {

// An object that counts its references and deletes itself with the last one. The count starts at
// 0: the first SmartPointer takes the first reference. The count is atomic, so that references to
// one object may be taken and dropped by any thread.
class SmartPointerBase {
public:
    SmartPointerBase() = default;
    SmartPointerBase(const SmartPointerBase&) = delete;
    SmartPointerBase& operator=(const SmartPointerBase&) = delete;

    void incRefCount() { m_refCount.fetch_add(1, std::memory_order_relaxed); }

    // Deletes the object when this was the last reference, and throws what its destructor throws.
    void decRefCount();

protected:
    // Destructors of derived classes may report a failure by throwing.
    virtual ~SmartPointerBase() noexcept(false) = default;

private:
    void deleteThis() { delete this; }

    std::atomic<int> m_refCount{0};
};

// How a SmartPointer takes and drops a reference on a T.
template <typename T>
struct SPDefault {
    static void take(T* object) { object->incRefCount(); }
    static void drop(T* object) { object->decRefCount(); }
};

// Holds one reference on a T, or none. Whatever drops a reference (assignment, destruction) throws
// what the object's destructor throws; the pointer no longer holds the object then. One
// SmartPointer belongs to one thread at a time.
template <typename T, typename Policy = SPDefault<T>>
class SmartPointer {
public:
    SmartPointer() = default;
    SmartPointer(T* object) // NOLINT(google-explicit-constructor): it stands for the raw pointer
        : m_object(object)
    {
        if (m_object)
            Policy::take(m_object);
    }
    SmartPointer(const SmartPointer& other)
        : SmartPointer(other.m_object)
    {
    }
    SmartPointer(SmartPointer&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    ~SmartPointer() noexcept(false) { reset(); }

    // Takes the new object before it drops the held one, which may be what keeps the new one alive.
    SmartPointer& operator=(T* object)
    {
        if (object == m_object)
            return *this;
        SmartPointer incoming(object);
        reset();
        std::swap(m_object, incoming.m_object);
        return *this;
    }
    SmartPointer& operator=(const SmartPointer& other) { return *this = other.m_object; }
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): the end of what it drops may throw
    SmartPointer& operator=(SmartPointer&& other)
    {
        SmartPointer incoming(std::move(other));
        reset();
        std::swap(m_object, incoming.m_object);
        return *this;
    }
    // Drops the held object; the number is the null pointer's 0.
    SmartPointer& operator=(int)
    {
        reset();
        return *this;
    }
    SmartPointer& operator=(std::nullptr_t)
    {
        reset();
        return *this;
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    void reset()
    {
        if (T* const held = std::exchange(m_object, nullptr))
            Policy::drop(held);
    }

    T* m_object = nullptr;
};

template <typename T, typename Policy>
bool operator==(const SmartPointer<T, Policy>& a, const SmartPointer<T, Policy>& b)
{
    return a.get() == b.get();
}

} // namespace Pt
