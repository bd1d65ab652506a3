// What the calls of odd_file_system have in common: the folders, the oddity, and when it is dead.
// There is one FileSystem, which the library hands to each call; any thread may use it.
#pragma once

#include "support/disks/Branches.h"
#include "support/disks/OddOptions.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <mutex>
#include <string>
#include <system_error>

#include <fuse.h>
#include <unistd.h>

namespace odd {

// When the disk dies. Any thread may ask.
class Death {
public:
    explicit Death(const Options& options)
        : m_trigger(options.trigger)
        , m_writesLeft(options.writesLeft)
        , m_readsLeft(options.readsLeft)
    {
    }

    bool hasCome() const
    {
        return m_isFinal || (!m_trigger.empty() && ::access(m_trigger.c_str(), F_OK) == 0);
    }

    // How many of so many bytes it lives to see.
    std::size_t write(std::size_t wanted) { return spend(m_writesLeft, wanted); }
    std::size_t read(std::size_t wanted) { return spend(m_readsLeft, wanted); }

private:
    std::size_t spend(std::optional<std::uint64_t>& left, std::size_t wanted)
    {
        const std::lock_guard guard(m_lock);
        if (!left)
            return wanted;
        const std::size_t granted = std::min<std::uint64_t>(wanted, *left);
        *left -= granted;
        m_isFinal = m_isFinal || *left == 0;
        return granted;
    }

    const std::string m_trigger;
    std::atomic<bool> m_isFinal = false;
    std::mutex m_lock;
    std::optional<std::uint64_t> m_writesLeft; // guarded by m_lock, as the next
    std::optional<std::uint64_t> m_readsLeft;
};

class FileSystem {
public:
    explicit FileSystem(const Options& asked)
        : options(asked)
        , branches(asked.folders, asked.createIn)
        , death(asked)
    {
    }

    // The number is not the folder's own, so that nobody finds the same file by it; names of one
    // file still have one number.
    ino_t number(dev_t device, ino_t real)
    {
        constexpr int kAboveRealNumbers = 40;
        return options.mode == "forgetful" ? ++m_lastNumber : real + (device << kAboveRealNumbers);
    }

    bool refuses(const std::string& path) const
    {
        return options.mode == "letters" && isRefusedName(path.substr(path.rfind('/') + 1));
    }

    void waitWhileStuck() const
    {
        constexpr useconds_t kPause = 10'000;
        while (!options.stuck.empty() && ::access(options.stuck.c_str(), F_OK) == 0)
            ::usleep(kPause);
    }

    const Options options;
    const Branches branches;
    Death death;

private:
    static bool isRefusedName(const std::string& name)
    {
        return name.find_first_of("\\:*?\"<>|") != std::string::npos
            || std::any_of(name.begin(),
                name.end(),
                [](char letter) { return static_cast<unsigned char>(letter) < ' '; })
            || name.ends_with('.') || name.ends_with(' ');
    }

    std::atomic<ino_t> m_lastNumber = 1000;
};

inline FileSystem& current()
{
    return *static_cast<FileSystem*>(fuse_get_context()->private_data);
}

// Each call goes through here: the dead answer nothing, and nothing is thrown into the library.
template <typename Work>
int answer(Work work) noexcept
{
    try {
        FileSystem& system = current();
        return system.death.hasCome() ? -EIO : work(system);
    } catch (const std::system_error& error) {
        return -error.code().value();
    } catch (const std::exception&) {
        return -EIO;
    }
}

inline int orError(ssize_t result)
{
    return result < 0 ? -errno : static_cast<int>(result);
}

inline int descriptor(const fuse_file_info* file)
{
    return static_cast<int>(file->fh);
}

// We make everything as root; it belongs to who asked for it.
inline int giveToCaller(const std::string& path)
{
    const fuse_context* const caller = fuse_get_context();
    return caller->uid == ::geteuid() ? 0
                                      : orError(::lchown(path.c_str(), caller->uid, caller->gid));
}

// The calls by name and those of open files and folders.
void addNameCalls(fuse_operations& calls);
void addOpenCalls(fuse_operations& calls);

} // namespace odd
