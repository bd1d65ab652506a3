// Reference counting for the host's own objects on the contract. They live as long as their owner
// in the host says: references are counted for checks, and the last release deletes nothing.
#pragma once

#include "TevoroAppManager/contract/IFxBase.h"

#include <cstdint>

namespace mfx {

template <typename Interface>
class HostObject : public Interface {
public:
    HostObject() = default;
    HostObject(const HostObject&) = delete;
    HostObject& operator=(const HostObject&) = delete;

    std::uint32_t QueryInterface(long, void** out) override
    {
        *out = nullptr;
        return 0;
    }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override { return --m_references; }

protected:
    ~HostObject() = default;

private:
    std::uint32_t m_references = 1;
};

} // namespace mfx
