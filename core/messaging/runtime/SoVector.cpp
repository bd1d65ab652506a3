#include "messaging/SoVector.h"

#include <algorithm>
#include <cstring>

namespace ScObjects {

namespace {

constexpr long kStep = 32;

std::size_t bytesOf(long elements)
{
    return static_cast<std::size_t>(elements) * sizeof(void*);
}

} // namespace

SoVectorBase::SoVectorBase()
    : m_capacity(kStep)
{
}

SoVectorBase::~SoVectorBase()
{
    freeThis(m_data);
}

bool SoVectorBase::append(void* element)
{
    // At the first element only: most of these arrays never get one.
    const bool isFull = m_data == nullptr || m_length == m_capacity;
    if (isFull && !growTo(m_data == nullptr ? m_capacity : m_capacity + kStep))
        return false;
    slot(m_length++) = element;
    return true;
}

bool SoVectorBase::reserve(long count)
{
    return count <= m_capacity || growTo(count);
}

// Moves the elements to the start of a new array.
bool SoVectorBase::growTo(long larger)
{
    void** const data = mallocThis<void*>(static_cast<std::size_t>(larger));
    if (data == nullptr)
        return false;
    if (m_length != 0) {
        // The elements up to the end of the ring, then those that go on at its start.
        const long upper = std::min(m_length, m_capacity - m_first);
        std::memcpy(data, m_data + m_first, bytesOf(upper));
        std::memcpy(data + upper, m_data, bytesOf(m_length - upper));
    }
    freeThis(m_data);
    m_data = data;
    m_first = 0;
    m_capacity = larger;
    return true;
}

void SoVectorBase::remove(const void* element)
{
    for (long i = 0; i < m_length; ++i) {
        if (slot(i) == element) {
            removeAt(i);
            return;
        }
    }
}

void* SoVectorBase::removeAt(long index)
{
    if (index < 0 || index >= m_length)
        return nullptr;
    void* const element = slot(index);
    --m_length;
    // The fewer elements move: none for a queue that is emptied from its front.
    if (index < m_length / 2 || index == 0) {
        for (long i = index; i > 0; --i)
            slot(i) = slot(i - 1);
        m_first = m_first + 1 < m_capacity ? m_first + 1 : 0;
        return element;
    }
    for (long i = index; i < m_length; ++i)
        slot(i) = slot(i + 1);
    return element;
}

void SoVectorBase::rotate(long count)
{
    if (count <= 0 || count >= m_length)
        return;
    // A place is free after the removal, so this never grows the array.
    for (long i = 0; i < count; ++i)
        append(removeAt(0));
}

} // namespace ScObjects
