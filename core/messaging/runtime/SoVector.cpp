#include "messaging/SoVector.h"

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

void SoVectorBase::append(void* element)
{
    if (m_data == nullptr) // most of these arrays never get an element
        m_data = mallocThis<void*>(static_cast<std::size_t>(m_capacity));
    else if (m_length == m_capacity)
        grow();
    slot(m_length++) = element;
}

// Moves the elements from the first to the end of the old array to the end of the new one.
void SoVectorBase::grow()
{
    const long larger = m_capacity + kStep;
    void** const data = mallocThis<void*>(static_cast<std::size_t>(larger));
    // The ring was full, so both halves are: from the first element to the end, and from the start
    // to the first element.
    const long upper = m_capacity - m_first;
    std::memcpy(data, m_data, bytesOf(m_first));
    std::memcpy(data + larger - upper, m_data + m_first, bytesOf(upper));
    freeThis(m_data);
    m_data = data;
    m_first = (larger - upper) % larger;
    m_capacity = larger;
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
    // Queues are emptied from here, without moving anything.
    if (index == 0) {
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
