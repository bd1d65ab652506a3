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
    : m_data(mallocThis<void*>(kStep))
    , m_capacity(kStep)
{
}

SoVectorBase::~SoVectorBase()
{
    freeThis(m_data);
}

void SoVectorBase::append(void* element)
{
    if (m_length == m_capacity) {
        void** const larger = mallocThis<void*>(static_cast<std::size_t>(m_capacity + kStep));
        std::memcpy(larger, m_data, bytesOf(m_length));
        freeThis(m_data);
        m_data = larger;
        m_capacity += kStep;
    }
    m_data[m_length++] = element;
}

void SoVectorBase::remove(void const* element)
{
    for (long i = 0; i < m_length; ++i) {
        if (m_data[i] == element) {
            removeAt(i);
            return;
        }
    }
}

void* SoVectorBase::removeAt(long index)
{
    if (index < 0 || index >= m_length)
        return nullptr;
    void* const element = m_data[index];
    --m_length;
    std::memmove(m_data + index, m_data + index + 1, bytesOf(m_length - index));
    return element;
}

void SoVectorBase::rotate(long count)
{
    if (count > 0 && count < m_length)
        std::rotate(m_data, m_data + count, m_data + m_length);
}

} // namespace ScObjects
