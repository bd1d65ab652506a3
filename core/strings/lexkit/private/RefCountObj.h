// Base of what is shared by count. The count starts at 0; the object deletes itself when the last
// reference goes. The count alone may be used by several threads at once, since the empty text is
// shared by all; the objects may not.
#pragma once

#include <atomic>
#include <cstdint>

namespace lexkit_private {

class RefCountObj {
public:
    RefCountObj() = default;
    RefCountObj(const RefCountObj&) = delete;
    RefCountObj& operator=(const RefCountObj&) = delete;
    virtual ~RefCountObj();

    // Whoever holds the first or the only reference meets nobody else here, and is spared the
    // locked instruction: that is half of all texts that are looked up.
    void AddReference()
    {
        if (m_count.load(std::memory_order_relaxed) == 0)
            m_count.store(1, std::memory_order_relaxed);
        else
            m_count.fetch_add(1, std::memory_order_relaxed);
    }
    void RemoveReference()
    {
        if (m_count.load(std::memory_order_acquire) == 1
            || m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }

    bool IsShared() const { return m_count.load(std::memory_order_relaxed) > 1; }
    bool Exists() const { return m_count.load(std::memory_order_relaxed) > 0; }

private:
    std::atomic<std::uint32_t> m_count{0};
};

} // namespace lexkit_private
