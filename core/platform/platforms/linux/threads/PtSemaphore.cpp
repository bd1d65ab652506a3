#include "platform/common/threads/PtSemaphore.h"

#include "platform/common/services/PtExSystem.h"
#include "platform/platforms/linux/services/Retry.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <random>

#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

namespace Pt {

namespace {

constexpr unsigned int kEveryone = 0777; // less the process's mask
constexpr int kAttempts = 100;

// A prefix that is different each time, as process ids come again and what a killed process left
// may still be there, then the two words that no other semaphore of any process has now.
std::string newName()
{
    static std::atomic<unsigned long> made{0};
    std::array<char, 32> prefix{};
    std::snprintf(prefix.data(), prefix.size(), "/tevoro-%08x", std::random_device()());
    std::array<char, 96> name{};
    std::snprintf(name.data(),
        name.size(),
        "%s_%lu_%lu",
        prefix.data(),
        static_cast<unsigned long>(::getpid()),
        ++made);
    return name.data();
}

sem_t* native(void* semaphore)
{
    return static_cast<sem_t*>(semaphore);
}

// For whoever looks at a debugger's output.
void DebugStr(const char* label, int error)
{
    std::fprintf(stderr, "%s: error %d\n", label, error);
    std::fflush(stderr);
}

// The error of a call that ends the semaphore, 0 for none, once it has been told.
int toldError(int result, const char* label)
{
    if (result == 0)
        return 0;
    const int error = ErrorCode();
    DebugStr(label, error);
    return error;
}

} // namespace

Semaphore::Semaphore(int initialCount)
    : m_initialCount(initialCount)
    , m_semaphore(SEM_FAILED)
{
    for (int attempt = 1; m_semaphore == SEM_FAILED; ++attempt) {
        m_name = newName();
        // O_EXCL: a semaphore that is there belongs to somebody else. The count always starts at 0.
        m_semaphore = ::sem_open(m_name.c_str(), O_CREAT | O_EXCL, kEveryone, 0U);
        if (m_semaphore == SEM_FAILED && (ErrorCode() != EEXIST || attempt == kAttempts))
            throw ExSystem(ErrorCode(), ExWhere::here());
    }
}

Semaphore::~Semaphore() noexcept(false)
{
    const int unlinkError = toldError(::sem_unlink(m_name.c_str()), "sem_unlink");
    const int closeError = toldError(::sem_close(native(m_semaphore)), "sem_close");
    const int error = unlinkError != 0 ? unlinkError : closeError;
    // A second exception would end the process; the first one has told that something failed.
    if (error != 0 && std::uncaught_exceptions() == 0)
        throw ExSystem(error, ExWhere::here());
}

void Semaphore::post()
{
    if (::sem_post(native(m_semaphore)) != 0)
        throw ExSystem(ErrorCode(), ExWhere::here());
}

void Semaphore::wait()
{
    if (retryInterrupted([this] { return ::sem_wait(native(m_semaphore)); }) != 0)
        throw ExSystem(ErrorCode(), ExWhere::here());
}

} // namespace Pt
