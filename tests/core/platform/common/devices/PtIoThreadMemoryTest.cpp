// Workers when memory runs out: this program stands in for what allocates and what detaches.

#include "core/platform/support/FailingAllocations.h"
#include "platform/common/devices/PtIoThread.h"

#include <atomic>
#include <new>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

namespace {

std::atomic<int> gDetached{0};

// Whether the workers are started with so many allocations.
bool isEnough(int allocations)
{
    test::tAllocationsLeft = allocations;
    try {
        Pt::IoFileInit(4);
    } catch (const std::bad_alloc&) {
        return false;
    }
    test::tAllocationsLeft = -1;
    return true;
}

} // namespace

extern "C" int pthread_detach(pthread_t thread) noexcept
{
    ++gDetached;
    return reinterpret_cast<int (*)(pthread_t)>(::dlsym(RTLD_NEXT, "pthread_detach"))(thread);
}

// A worker that begins is joined, and not left to run when its object is gone.
TEST(PtIoThreadMemoryTest, LeavesNoWorkersWhicheverAllocationFails)
{
    gDetached = 0;
    int allocations = 0;
    while (!isEnough(allocations)) {
        EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
        EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
        EXPECT_EQ(gDetached, 0) << "after " << allocations << " allocations";
        ASSERT_LT(++allocations, 1000);
    }
    EXPECT_GT(allocations, 4);
    EXPECT_EQ(Pt::IoFileWorkerCount(), 4);
    Pt::IoFileUninit();
    EXPECT_EQ(gDetached, 0);
}
