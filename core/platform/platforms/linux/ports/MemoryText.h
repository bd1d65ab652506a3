// A text in a memory file that nobody can change any more: the way of a text that is too long for
// one packet. Free functions; any thread.
#pragma once

#include "platform/platforms/linux/ports/MemoryMapping.h"
#include "platform/platforms/linux/services/Descriptor.h"

#include <cstdint>
#include <string_view>

namespace Pt {

// A sealed memory file that holds the text, which lies in two pieces. Not open when the system
// refuses; errno then says why.
Descriptor makeMemoryText(std::string_view head, std::string_view rest);

// The text as private, writable bytes. Empty unless the file is a sealed memory file of exactly
// that size, between 1 byte and LocalPort::kMaxText: its sender may be any program. errno is
// ENOMEM when there is only no memory for it.
MemoryMapping mapMemoryText(int file, std::uint64_t size);

} // namespace Pt
