// Where a deletion sets an original aside for its last look: in a folder of the original's own.
// What is left in it, because the program was killed, is put back when the card is listed.
#pragma once

namespace mfx {

inline constexpr char kAsideFolder[] = ".mfxdelete";

} // namespace mfx
