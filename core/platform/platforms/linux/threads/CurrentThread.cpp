#include "platform/common/threads/CurrentThread.h"

#include <ctime>

#include <pthread.h>

namespace Pt {

unsigned long currentThreadHandle()
{
    return ::pthread_self();
}

void sleepOnce(std::chrono::milliseconds duration)
{
    const timespec time{duration.count() / 1000, (duration.count() % 1000) * 1'000'000};
    // Not made again after a signal, as the header says.
    ::nanosleep(&time, nullptr);
}

} // namespace Pt
