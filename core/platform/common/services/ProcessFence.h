// What a process gives up for good before it does the work of somebody whom it does not trust: for
// a program that was started for nothing else. Nothing of this can be taken back, and all threads
// are bound by it. Call in the order in which it stands here, from the thread of main(), all before
// the first byte of the stranger's work; the calls are cheap and do not block.
//
// In a library of its own, tevoro_fence: only programs with a fence need a library for filters.
#pragma once

#include "platform/common/services/OwnedDescriptor.h"

#include <cstddef>
#include <system_error>

namespace Pt {

// Sanitizers read files of their own, start programs and reserve the whole address space: with them
// there are no filters and no bound on addresses.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TEVORO_SANITIZED_PROCESS
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TEVORO_SANITIZED_PROCESS
#endif
#ifdef TEVORO_SANITIZED_PROCESS
inline constexpr bool kFenceHasFilters = false;
#else
inline constexpr bool kFenceHasFilters = true;
#endif

struct FenceBounds {
    std::size_t addresses = 0; // bytes that it may map beyond what it has mapped at the call
    unsigned processorSeconds = 0; // of its whole life; the system kills it behind them
    unsigned descriptors = 0; // open at once, the standard streams included
    std::size_t fileBytes = 0; // no file grows beyond so many
};

// From now on the system kills this process when the thread that has started it ends, whatever it
// is doing then. False where `parent`, that thread's process, has ended already, or the system
// refuses.
bool endWithParent(unsigned long parent);

// Closes what it inherited beside its standard streams.
void closeInheritedDescriptors();

// For bounds on addresses and time that the process which started it sets, time and again.
inline constexpr std::size_t kAddressesBoundElsewhere = 0;
inline constexpr unsigned kTimeBoundElsewhere = 0;

// Sets the bounds; no file grows by a byte beside them, no picture of its memory is left when it
// crashes, and no program that it might start gets rights that it has not. The first error, with
// the others set all the same.
std::error_code boundProcess(const FenceBounds& bounds);

// From now on no memory becomes code: no library is loaded, no compiler writes for the processor.
// Nothing where kFenceHasFilters is false. An error where the system takes no filter, as in some
// containers.
std::error_code forbidNewCode();

// What it may still do behind the fence, beside computing.
enum class FenceWork {
    kStreams, // read and write what is open
    kFiles, // and fill the files that it is handed over a talk (DescriptorChannel.h)
};

// From now on it computes, and reads and writes what is open: no file is opened or looked at, there
// are no new sockets, no processes and no further threads, and other processes are out of reach.
// Calls for anything else fail with EPERM. Nothing where kFenceHasFilters is false; errors as
// above.
std::error_code shutOffSystem(FenceWork work = FenceWork::kStreams);

// How much of the machine's memory this process has. Made before shutOffSystem(), of use behind it;
// any thread.
class ResidentMemory {
public:
    // Throws std::system_error where the system does not report it.
    ResidentMemory();

    // In bytes; 0 when the system no longer reports it.
    std::size_t bytes() const;

private:
    OwnedDescriptor m_facts;
};

} // namespace Pt
