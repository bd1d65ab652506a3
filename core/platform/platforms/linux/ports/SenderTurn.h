// Which sender of a local port is read next: whoever sent later is read later, and nobody is shut
// out. What lies in a sender's connection is taken to its end before anybody else's, over as many
// calls as that needs, up to kMaxBytes in a row.
//
//   state   entered by                               read next
//   free    the start; end(); owner() of a long one  whoever has something
//   taken   begin(sender)                            that sender, before all others
//   long    took() beyond kMaxBytes                  everybody: owner() gives the turn up
//
// Knows connections by their numbers and reads nothing. One thread.
#pragma once

#include <cstddef>

namespace Pt {

class SenderTurn {
public:
    static constexpr int kNobody = -1;

    // The buffer of a connection holds no more, so that what a sender wrote before the turn began
    // is taken within it; a sender that keeps writing does not keep it.
    static constexpr std::size_t kMaxBytes = std::size_t{8} * 1024 * 1024;

    // Its texts are read now. A sender that had the turn already keeps it, and its count.
    void begin(int connection);
    void took(std::size_t bytes) { m_bytes += bytes; }
    // The sender has no more, or has gone.
    void end();

    // The sender to be read before all others; kNobody when nobody has the turn, or it was long,
    // which ends it.
    int owner();
    bool isLong() const { return m_bytes > kMaxBytes; }
    // Whether a sender other than that one has the turn.
    bool isAnothers(int connection) const;

private:
    int m_owner = kNobody;
    std::size_t m_bytes = 0; // taken in this turn
};

} // namespace Pt
