// What a file holds, in 32 bytes: its SHA-256 and its length. Two contents with one digest are
// taken to be the same bytes.
//
// A ContentDigester belongs to one thread at a time. Throws std::bad_alloc, and std::runtime_error
// when the library that computes digests refuses to work.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace Pt {

struct ContentDigest {
    std::array<unsigned char, 32> sha256{};
    std::uint64_t size = 0; // bytes

    friend bool operator==(const ContentDigest&, const ContentDigest&) = default;
};

class ContentDigester {
public:
    ContentDigester();
    ~ContentDigester();
    ContentDigester(const ContentDigester&) = delete;
    ContentDigester& operator=(const ContentDigester&) = delete;

    void add(const void* bytes, std::size_t count);

    // The digest of all that was added; the digester then begins anew.
    ContentDigest finish();

private:
    struct State;
    std::unique_ptr<State> m_state;
    std::uint64_t m_size = 0;
};

} // namespace Pt
