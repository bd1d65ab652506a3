// A program that shows folders as a file system with an oddity of those that people keep pictures
// on. It prints "ready" when it can be used, and unmounts and ends at SIGTERM:
//
//   odd_file_system MODE [KEY=VALUE...] MOUNTPOINT FOLDER...
//
//   mirror      the folder as it is; inode numbers of its own, and nothing of it is cached
//   pool        several folders as one, as Branches.h says; create=N (0), unlink=all|first
//   forgetful   another inode number at each look
//   dying       EIO for everything while trigger=FILE is there; after after=N bytes written, or
//               reads=N bytes read, for good. What the kernel reads ahead counts.
//   letters     refuses names that some systems cannot have, with EINVAL; lookup=no: such a name is
//               only looked for in vain
//   cached      what was seen once, or missed once, is believed for half a minute
//
// In each mode: norename2=yes, no renames with flags; nolink=yes, no hard links; times=zero, no
// time of change; stuck=FILE, files are read only once FILE is gone; removed=hidden, open files
// that are removed stay under a hidden name (else they are gone, and only fstat misses them).
#include "support/disks/OddState.h"

#include <cstdio>
#include <memory>

#include <sys/stat.h>

namespace {

void* begin(fuse_conn_info* connection, fuse_config* config)
{
    const odd::FileSystem& system = odd::current();
    constexpr double kHalfMinute = 30;
    const double belief = system.options.mode == "cached" ? kHalfMinute : 0;
    config->entry_timeout = belief;
    config->attr_timeout = belief;
    config->negative_timeout = belief;
    config->use_ino = 1;
    config->nullpath_ok = 1; // open files work on, whatever becomes of their names
    config->hard_remove = system.options.hidesRemoved ? 0 : 1;
    connection->want &= ~static_cast<unsigned int>(FUSE_CAP_READDIRPLUS);
    std::puts("ready");
    std::fflush(stdout);
    return fuse_get_context()->private_data;
}

fuse_operations makeOperations()
{
    fuse_operations calls{};
    calls.init = begin;
    odd::addNameCalls(calls);
    odd::addOpenCalls(calls);
    return calls;
}

// Others than root see it too, where root asks for it; the kernel checks their rights.
std::string mountOptions(const odd::Options& options)
{
    return "default_permissions,fsname=odd_file_system,subtype=" + options.mode
        + (::geteuid() == 0 ? ",allow_other" : "");
}

using Handle = std::unique_ptr<fuse, void (*)(fuse*)>;

Handle makeHandle(odd::FileSystem& system)
{
    fuse_args words = FUSE_ARGS_INIT(0, nullptr);
    for (const std::string& word :
        {std::string("odd_file_system"), std::string("-o"), mountOptions(system.options)})
        fuse_opt_add_arg(&words, word.c_str());
    const fuse_operations calls = makeOperations();
    Handle handle(fuse_new(&words, &calls, sizeof calls, &system), &fuse_destroy);
    fuse_opt_free_args(&words);
    return handle;
}

// Until it is unmounted or a signal ends it. What is wrong, the library tells.
int serve(odd::FileSystem& system)
{
    const Handle handle = makeHandle(system);
    if (!handle || fuse_mount(handle.get(), system.options.mountPoint.c_str()) != 0)
        return 1;
    fuse_set_signal_handlers(fuse_get_session(handle.get()));
    const int end = fuse_loop_mt(handle.get(), nullptr);
    fuse_remove_signal_handlers(fuse_get_session(handle.get()));
    fuse_unmount(handle.get());
    return end < 0 && end != -ECONNABORTED ? 1 : 0; // above 0 it is the signal
}

} // namespace

// Where a file or folder was closed just before the end, the library leaves it open and unfreed.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions()
{
    return "leak:libfuse3";
}

int main(int count, char* arguments[])
{
    ::umask(0); // the kernel took the caller's off already
    try {
        odd::FileSystem system(odd::parseOptions({arguments + 1, arguments + count}));
        return serve(system);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "odd_file_system: %s\n", error.what());
        return 2;
    }
}
