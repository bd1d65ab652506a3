// Holder of one reference to an object that counts them; may be null.
#pragma once

#include <utility>

namespace lexkit_private {

template <typename T>
class RefCountPtr {
public:
    RefCountPtr() = default;
    explicit RefCountPtr(T* object)
        : m_object(object)
    {
        if (m_object)
            m_object->AddReference();
    }
    RefCountPtr(const RefCountPtr& other)
        : RefCountPtr(other.m_object)
    {
    }
    RefCountPtr(RefCountPtr&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    ~RefCountPtr()
    {
        if (m_object)
            m_object->RemoveReference();
    }

    RefCountPtr& operator=(const RefCountPtr& other)
    {
        if (m_object != other.m_object) {
            RefCountPtr copy(other);
            std::swap(m_object, copy.m_object);
        }
        return *this;
    }
    RefCountPtr& operator=(RefCountPtr&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }

    T* Get() const { return m_object; }
    T* operator->() const { return m_object; }

private:
    T* m_object = nullptr;
};

} // namespace lexkit_private
