// Holder of one reference on an object of the contract: released when the holder goes. Adopts a
// reference that the caller owns already; `FxRef::share` takes one of its own.
#pragma once

#include <utility>

template <typename T>
class FxRef {
public:
    FxRef() = default;
    explicit FxRef(T* owned)
        : m_object(owned)
    {
    }
    FxRef(FxRef&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    FxRef& operator=(FxRef&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.m_object, nullptr));
        return *this;
    }
    FxRef(const FxRef&) = delete;
    FxRef& operator=(const FxRef&) = delete;
    ~FxRef() { reset(); }

    static FxRef share(T* borrowed)
    {
        if (borrowed)
            borrowed->AddRef();
        return FxRef(borrowed);
    }

    void reset(T* owned = nullptr)
    {
        T* old = std::exchange(m_object, owned);
        if (old)
            old->Release();
    }

    // Gives the reference away without releasing it.
    T* detach() { return std::exchange(m_object, nullptr); }

    // Address for an operation that stores a reference for the caller; drops what was held.
    T** receive()
    {
        reset();
        return &m_object;
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

private:
    T* m_object = nullptr;
};
