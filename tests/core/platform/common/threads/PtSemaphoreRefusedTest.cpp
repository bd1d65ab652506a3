// What becomes of a semaphore's end that the system refuses: this program stands in for its calls.

#include "platform/common/devices/PtIoThread.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/threads/PtSemaphore.h"

#include <cerrno>
#include <functional>
#include <memory>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <semaphore.h>

namespace {

int gUnlinkError = 0; // 0: the call is let through
int gCloseError = 0;

// The call is made all the same: only its result is another.
template <typename Call, typename Argument>
int resultOf(const char* name, Call*, Argument argument, int error)
{
    const int result = reinterpret_cast<Call*>(::dlsym(RTLD_NEXT, name))(argument);
    if (error == 0)
        return result;
    errno = error;
    return -1;
}

struct Ended {
    int error;
    std::string told;
};

// What an action leaves on standard error, and throws.
Ended endedBy(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    int error = 0;
    try {
        action();
    } catch (const Pt::ExSystem& failure) {
        error = failure.errorCode();
    }
    return {error, testing::internal::GetCapturedStderr()};
}

std::string line(const std::string& label, int error)
{
    return label + ": error " + std::to_string(error) + "\n";
}

class PtSemaphoreRefusedTest : public testing::Test {
protected:
    ~PtSemaphoreRefusedTest() override { gUnlinkError = gCloseError = 0; }
};

} // namespace

extern "C" int sem_unlink(const char* name) noexcept
{
    return resultOf("sem_unlink", &sem_unlink, name, gUnlinkError);
}

extern "C" int sem_close(sem_t* semaphore) noexcept
{
    return resultOf("sem_close", &sem_close, semaphore, gCloseError);
}

TEST_F(PtSemaphoreRefusedTest, TellsWhichCallFailed)
{
    struct {
        int unlinkError;
        int closeError;
        int thrown;
        std::string told;
    } const rows[] = {
        {0, 0, 0, ""},
        {EACCES, 0, EACCES, line("sem_unlink", EACCES)},
        {0, EINVAL, EINVAL, line("sem_close", EINVAL)},
        {EACCES, EINVAL, EACCES, line("sem_unlink", EACCES) + line("sem_close", EINVAL)},
    };
    for (const auto& row : rows) {
        auto* const semaphore = new Pt::Semaphore;
        gUnlinkError = row.unlinkError;
        gCloseError = row.closeError;
        const Ended ended = endedBy([&] { delete semaphore; });
        EXPECT_EQ(ended.error, row.thrown);
        EXPECT_EQ(ended.told, row.told);
    }
}

TEST_F(PtSemaphoreRefusedTest, IsThrownByTheEndOfTheWorkersThatHadIt)
{
    for (int round = 0; round < 2; ++round) {
        Pt::IoFileInit(2);
        EXPECT_EQ(Pt::IoFileWorkerCount(), 2);
        gUnlinkError = EACCES;
        const Ended ended = endedBy([] { Pt::IoFileUninit(); });
        gUnlinkError = 0;
        EXPECT_EQ(ended.error, EACCES);
        EXPECT_EQ(ended.told, line("sem_unlink", EACCES));
        EXPECT_EQ(Pt::IoFileWorkerCount(), 0);
        EXPECT_TRUE(Pt::Thread::IsThreadCountZero());
    }
}
