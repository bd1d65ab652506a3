// A growing array for scratch work: it keeps its memory from one use to the next. Growing keeps
// what it holds.
#pragma once

#include <algorithm>
#include <memory>

namespace lexkit_private {

template <typename T>
class Buffer {
public:
    explicit Buffer(unsigned long capacity)
        : m_data(std::make_unique_for_overwrite<T[]>(capacity))
        , m_capacity(capacity)
    {
    }

    T* GetData() { return m_data.get(); }
    const T* GetData() const { return m_data.get(); }
    unsigned long GetCapacity() const { return m_capacity; }
    unsigned long GetCount() const { return m_count; }

    // Requires: count <= GetCapacity().
    void SetCount(unsigned long count) { m_count = count; }
    void Clear() { m_count = 0; }

    void Append(T value)
    {
        if (m_count == m_capacity)
            Grow(m_count + 1);
        m_data[m_count++] = value;
    }

    // Makes room for that many: half as much again, as often as it takes.
    void Grow(unsigned long needed)
    {
        unsigned long capacity = m_capacity;
        while (capacity < needed)
            capacity = std::max(capacity + capacity / 2, capacity + 1);
        if (capacity == m_capacity)
            return;
        auto larger = std::make_unique_for_overwrite<T[]>(capacity);
        std::copy_n(m_data.get(), m_count, larger.get());
        m_data = std::move(larger);
        m_capacity = capacity;
    }

private:
    std::unique_ptr<T[]> m_data;
    unsigned long m_capacity;
    unsigned long m_count = 0;
};

} // namespace lexkit_private
