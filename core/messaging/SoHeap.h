// Base class of the objects of the message bus. They are allocated on the C heap of the library, so
// one module may create an object and another one delete it.
#pragma once

#include "messaging/TevoroTalkApi.h"

#include <cstddef>

namespace ScObjects {

class TEVOROTALK_API SoHeap {
public:
    SoHeap() = default;
    SoHeap(const SoHeap&) = default;
    SoHeap& operator=(const SoHeap&) = default;
    virtual ~SoHeap();

    // malloc and free, unchecked: null if there is no memory.
    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* pointer) noexcept;
    static void* mallocHeap(std::size_t size) noexcept;
    static void freeHeap(void* pointer) noexcept;

    // Raw memory for `count` elements; nothing is constructed or destroyed.
    template <typename T>
    static T* mallocThis(std::size_t count) noexcept
    {
        return static_cast<T*>(mallocHeap(count * sizeof(T)));
    }
    template <typename T>
    static void freeThis(T* pointer) noexcept
    {
        freeHeap(pointer);
    }
};

// Deletes its object at the end of a block.
template <typename T>
class autoPtr {
public:
    explicit autoPtr(T* object)
        : m_object(object)
    {
    }
    ~autoPtr() { delete m_object; }
    autoPtr(const autoPtr&) = delete;
    autoPtr& operator=(const autoPtr&) = delete;

    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    T* get() const { return m_object; }

private:
    T* m_object;
};

} // namespace ScObjects
