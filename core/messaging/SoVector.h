// A growable array of pointers. It does not own them: whoever fills it deletes the elements. Keeps
// their order. Removing from the front is as cheap as appending: most of these arrays are queues.
// Not thread-safe: one thread at a time.
//
// Starts with room for 32 and grows by 32; never shrinks. Whoever expects many elements reserves.
#pragma once

#include "messaging/SoHeap.h"

namespace ScObjects {

class TEVOROTALK_API SoVectorBase : public SoHeap {
public:
    SoVectorBase();
    ~SoVectorBase() override;
    SoVectorBase(const SoVectorBase&) = delete;
    SoVectorBase& operator=(const SoVectorBase&) = delete;

    long length() const { return m_length; }
    long capacity() const { return m_capacity; }

    // Adds at the end; duplicates are allowed. False, and no change, if there is no memory.
    bool append(void* element);
    // Makes room for that many elements. False, and no change, if there is no memory.
    bool reserve(long count);
    // Removes the first equal element, if there is one.
    void remove(const void* element);
    // Removes and returns the element; null if the index is out of range.
    void* removeAt(long index);
    // Moves the first `count` elements to the end, in their order.
    void rotate(long count);
    // Unchecked.
    void* operator[](long index) const { return slot(index); }

private:
    // The elements stand in a ring that begins at m_first.
    void*& slot(long index) const
    {
        const long place = m_first + index;
        return m_data[place < m_capacity ? place : place - m_capacity];
    }
    bool growTo(long larger);

    void** m_data = nullptr;
    long m_first = 0;
    long m_length = 0;
    long m_capacity;
};

template <typename T>
class SoVector : public SoVectorBase {
public:
    bool append(T* element) { return SoVectorBase::append(element); }
    void remove(const T* element) { SoVectorBase::remove(element); }
    T* removeAt(long index) { return static_cast<T*>(SoVectorBase::removeAt(index)); }
    T* operator[](long index) const { return static_cast<T*>(SoVectorBase::operator[](index)); }
};

} // namespace ScObjects
