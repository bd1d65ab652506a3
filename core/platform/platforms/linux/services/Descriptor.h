// A file of the system: an owned descriptor, and what is done with it. Failures come back as the
// system's error codes, and a call that a signal broke off is made again.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"
#include "platform/platforms/linux/services/Retry.h"

#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Pt {

inline std::error_code lastError()
{
    return {errno, std::system_category()};
}

class Descriptor : public OwnedDescriptor {
public:
    using OwnedDescriptor::OwnedDescriptor;

    // Opens a path, close-on-exec. Not open when the system refuses; errno then says why.
    static Descriptor open(const std::string& path, int flags, unsigned int mode = 0);

    // Writes all of it, or gives the system's word; a part may stand written then.
    std::error_code write(const void* bytes, std::size_t count) const;

    // Returns when the disk has what was written.
    std::error_code flush() const;

    // Closes now, with the system's word: some file systems report a full disk only here. Not
    // made again on EINTR: the descriptor is gone then.
    std::error_code close();
};

} // namespace Pt
