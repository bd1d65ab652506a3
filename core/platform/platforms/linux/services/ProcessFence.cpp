#include "platform/common/services/ProcessFence.h"

#include "platform/common/services/SystemError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Pt {

namespace {

// Pages: all that is mapped, and of that what is in memory.
struct MemoryFacts {
    std::size_t mapped = 0;
    std::size_t resident = 0;
};

MemoryFacts readFacts(int statm)
{
    std::array<char, 128> text{};
    const ssize_t size = ::pread(statm, text.data(), text.size(), 0);
    if (size <= 0)
        return {};
    MemoryFacts facts;
    const char* const end = text.data() + size;
    const auto mapped = std::from_chars(text.data(), end, facts.mapped);
    if (mapped.ec == std::errc() && mapped.ptr != end)
        std::from_chars(mapped.ptr + 1, end, facts.resident);
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return {facts.mapped * page, facts.resident * page};
}

int openFacts()
{
    return ::open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
}

// Both limits, so that it cannot be raised again. One that is lower already stays.
std::error_code limit(__rlimit_resource_t what, rlim_t most)
{
    rlimit both = {};
    if (::getrlimit(what, &both) == 0)
        most = std::min(most, both.rlim_max);
    both = {most, most};
    return ::setrlimit(what, &both) == 0 ? std::error_code() : lastSystemError();
}

std::error_code limitAddresses(std::size_t more)
{
    if (!kFenceHasFilters || more == kAddressesBoundElsewhere)
        return {};
    const OwnedDescriptor file(openFacts());
    const std::size_t mapped = readFacts(file.get()).mapped;
    return mapped == 0 ? lastSystemError() : limit(RLIMIT_AS, mapped + more);
}

struct FilterEnd {
    void operator()(void* filter) const { ::seccomp_release(filter); }
};

class Filter {
public:
    explicit Filter(std::uint32_t otherwise)
        : m_filter(::seccomp_init(otherwise))
    {
        if (!m_filter)
            m_error = -ENOMEM;
        else
            keep(::seccomp_attr_set(m_filter.get(), SCMP_FLTATR_CTL_TSYNC, 1)); // all threads
    }

    // The call, where all conditions hold.
    void add(std::uint32_t action, int call, const std::vector<scmp_arg_cmp>& conditions = {})
    {
        if (m_filter)
            keep(::seccomp_rule_add_array(m_filter.get(),
                action,
                call,
                static_cast<unsigned>(conditions.size()),
                conditions.data()));
    }

    std::error_code load()
    {
        if (m_error == 0)
            keep(::seccomp_load(m_filter.get()));
        return {-m_error, std::system_category()};
    }

private:
    void keep(int result)
    {
        if (m_error == 0)
            m_error = result;
    }

    std::unique_ptr<void, FilterEnd> m_filter;
    int m_error = 0; // the first, negative
};

// Time, memory without code, threads among themselves, and what is open already. Of signals only
// those that a crash needs.
constexpr int kHarmless[] = {SCMP_SYS(read),
    SCMP_SYS(write),
    SCMP_SYS(readv),
    SCMP_SYS(writev),
    SCMP_SYS(pread64),
    SCMP_SYS(close),
    SCMP_SYS(lseek),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(futex),
    SCMP_SYS(sched_yield),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(nanosleep),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(getrandom),
    SCMP_SYS(brk),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(madvise),
    SCMP_SYS(membarrier),
    SCMP_SYS(getpid),
    SCMP_SYS(gettid),
    SCMP_SYS(getrusage),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(rseq),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group)};

// What fills a file that was handed over.
constexpr int kFilling[] = {SCMP_SYS(recvmsg),
    SCMP_SYS(sendmsg),
    SCMP_SYS(pwrite64),
    SCMP_SYS(ftruncate),
    SCMP_SYS(fsync),
    SCMP_SYS(fadvise64),
    SCMP_SYS(fstat)};

} // namespace

// In this order: a parent that ends behind the look is noticed by the system.
bool endWithParent(unsigned long parent)
{
    return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0
        && static_cast<unsigned long>(::getppid()) == parent;
}

void closeInheritedDescriptors()
{
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
}

std::error_code boundProcess(const FenceBounds& bounds)
{
    std::error_code first;
    for (const std::error_code error : {limitAddresses(bounds.addresses),
             bounds.processorSeconds == kTimeBoundElsewhere
                 ? std::error_code()
                 : limit(RLIMIT_CPU, bounds.processorSeconds),
             limit(RLIMIT_NOFILE, bounds.descriptors),
             limit(RLIMIT_FSIZE, bounds.fileBytes),
             limit(RLIMIT_CORE, 0),
             ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 ? std::error_code() : lastSystemError()})
        if (!first)
            first = error;
    return first;
}

std::error_code forbidNewCode()
{
    if (!kFenceHasFilters)
        return {};
    Filter filter(SCMP_ACT_ALLOW);
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect), SCMP_SYS(pkey_mprotect)})
        filter.add(SCMP_ACT_ERRNO(EPERM), call, {{2, SCMP_CMP_MASKED_EQ, PROT_EXEC, PROT_EXEC}});
    return filter.load();
}

std::error_code shutOffSystem(FenceWork work)
{
    if (!kFenceHasFilters)
        return {};
    Filter filter(SCMP_ACT_ERRNO(EPERM));
    for (const int call : kHarmless)
        filter.add(SCMP_ACT_ALLOW, call);
    if (work == FenceWork::kFiles)
        for (const int call : kFilling)
            filter.add(SCMP_ACT_ALLOW, call);
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)})
        filter.add(SCMP_ACT_ALLOW, call, {{2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0}});
    filter.add(SCMP_ACT_ALLOW, SCMP_SYS(fcntl), {{1, SCMP_CMP_EQ, F_GETFL, 0}});
    // A thread's signal to its own process: how abort() ends it. Numbers are given in this process.
    const auto self = static_cast<scmp_datum_t>(::getpid());
    filter.add(SCMP_ACT_ALLOW, SCMP_SYS(tgkill), {{0, SCMP_CMP_EQ, self, 0}});
    return filter.load();
}

ResidentMemory::ResidentMemory()
    : m_facts(openFacts())
{
    if (!m_facts.isOpen())
        throw std::system_error(lastSystemError(), "/proc/self/statm");
}

std::size_t ResidentMemory::bytes() const
{
    return readFacts(m_facts.get()).resident;
}

} // namespace Pt
