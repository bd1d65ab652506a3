// Root of all interfaces of the contract. An interface is a pure table: no data, no virtual
// destructor, operations in the order written, these three first. A class with several interfaces
// has a separate interface for each and one reference count behind all of them; references are
// counted with plain integers unless a class says otherwise, so calls come from one thread.
#pragma once

#include <cstdint>

class IFxBase {
public:
    // Stores the interface with number `id` through `out`, with a reference added that the caller
    // releases, and returns 1. An unknown id stores null and returns 0.
    virtual std::uint32_t QueryInterface(long id, void** out) = 0;

    // Counts one more reference; returns the new count.
    virtual std::uint32_t AddRef() = 0;

    // Counts one reference less; returns the new count. At zero the object is gone.
    virtual std::uint32_t Release() = 0;

protected:
    ~IFxBase() = default;
};
