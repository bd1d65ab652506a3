// A program behind the fence. Usage: fence_probe bounds FILE | code | shut FILE | spin | stay ID
//
//   bounds    says what the bounds leave: LINE is NAME=VALUE
//   code      says what memory may become behind forbidNewCode(): LINE is NAME=ERROR, 0 for none
//   shut      says what each call comes to behind shutOffSystem(), in the same way
//   spin      computes until it is ended
//   stay      says its id and whether it ends with its parent, the process ID, and waits for a
//   minute
//
// FILE is written to, or opened.
#include "platform/common/services/ProcessFence.h"
#include "platform/common/services/ProgramEnvironment.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr Pt::FenceBounds kBounds{
    .addresses = std::size_t{64} << 20, .processorSeconds = 1, .descriptors = 10};

void say(const char* name, long value)
{
    std::printf("%s=%ld\n", name, value);
}

void sayError(const char* name, long result)
{
    say(name, result == -1 ? errno : 0);
}

long mostDescriptors()
{
    std::vector<int> opened;
    for (int next = 0; (next = ::dup(STDIN_FILENO)) != -1;)
        opened.push_back(next);
    for (const int each : opened) // sanitizers open some at the end
        ::close(each);
    return opened.empty() ? 0 : opened.back() + 1;
}

void sayBounds(const char* file)
{
    const int inherited = ::dup2(STDIN_FILENO, 7);
    Pt::closeInheritedDescriptors();
    sayError("inherited", ::fcntl(inherited, F_GETFD));
    const int open = ::open(file, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    say("bounded", Pt::boundProcess(kBounds).value());
    sayError("growing", ::write(open, "x", 1));
    say("descriptors", mostDescriptors());
    say("privileges", ::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0));
    void* const memory =
        ::mmap(nullptr, kBounds.addresses * 2, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    say("addresses", memory == MAP_FAILED ? errno : 0);
    const rlimit more = {100, 100};
    rlimit core = {1, 1};
    ::getrlimit(RLIMIT_CORE, &core);
    say("core", static_cast<long>(core.rlim_max));
    if (Pt::effectiveUser() != 0)
        sayError("raised", ::setrlimit(RLIMIT_NOFILE, &more));
}

long mappedAs(int protection)
{
    void* const page = ::mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page == MAP_FAILED ? -1 : 0;
}

long protectedAs(int protection)
{
    void* const page = ::mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return ::mprotect(page, 4096, protection);
}

long startedThread()
{
    pthread_t thread = {};
    errno = ::pthread_create(
        &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
    return errno == 0 ? 0 : -1;
}

long startedProcess()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    return child;
}

void sayMemory()
{
    sayError("executable", mappedAs(PROT_READ | PROT_EXEC));
    sayError("made executable", protectedAs(PROT_READ | PROT_EXEC));
    sayError("memory", mappedAs(PROT_READ | PROT_WRITE));
    sayError("protected", protectedAs(PROT_NONE));
    const std::vector<char> large(std::size_t{8} << 20, 'x');
    say("allocated", large.back() == 'x' ? 0 : 1);
}

void sayCode()
{
    say("filter", Pt::forbidNewCode().value());
    sayMemory();
    sayError("read", ::open("/etc/passwd", O_RDONLY));
}

void sayShut(const char* file)
{
    say("filter", Pt::shutOffSystem().value());
    sayError("write", ::open(file, O_WRONLY | O_CREAT, 0600));
    sayError("read", ::open("/etc/passwd", O_RDONLY));
    struct stat facts = {};
    sayError("look", ::stat("/etc/passwd", &facts));
    sayError("remove", ::unlink(file));
    sayError("socket", ::socket(AF_UNIX, SOCK_STREAM, 0));
    sayError("internet", ::socket(AF_INET, SOCK_STREAM, 0));
    sayError("fork", startedProcess());
    sayError("thread", startedThread());
    sayError("run", ::execl("/bin/true", "true", nullptr));
    sayError("signal", ::kill(::getppid(), 0));
    sayMemory();
}

void stayWith(const char* parent)
{
    const bool isBound = Pt::endWithParent(std::stoul(parent));
    say("id", ::getpid());
    say("bound", isBound ? 1 : 0);
    std::fflush(stdout);
    ::sleep(60);
}

} // namespace

int main(int argc, char** argv)
{
    Pt::failBeyondSizeLimit();
    const std::string word = argc > 1 ? argv[1] : "";
    if (word == "bounds" && argc > 2)
        sayBounds(argv[2]);
    else if (word == "code")
        sayCode();
    else if (word == "shut" && argc > 2)
        sayShut(argv[2]);
    else if (word == "stay" && argc > 2)
        stayWith(argv[2]);
    else if (word == "spin")
        for (Pt::boundProcess(kBounds);;) { }
    else
        return 2;
    std::fflush(stdout);
    return 0;
}
