// Places that are not a plain folder, for tests: bound folders, small disks, overlays, images, and
// file systems with an oddity. Each is mounted by its constructor, which makes the folder `at`
// where it is missing and throws std::runtime_error with the reason where the system refuses; its
// destructor unmounts. The test program is moved into mounts of its own at the first of them, so
// that nobody else sees any and none is left, even where it is killed. Declare the folder first,
// then what is mounted in it. One thread, the one that runs the tests, may use all this; the
// programs that it starts see the mounts.
#pragma once

#include "support/ChildProgram.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace test {

// Whether this process may mount here: root, and in no container that forbids it. Tests skip
// otherwise. The second also needs devices for images of disks.
bool canMount();
bool canMountImages();

// Mounts from here on, and those of programs that are started, are this program's own. Each
// constructor below calls it.
void enterOwnMounts();

bool isMountPoint(const std::filesystem::path& path);

class Mount {
public:
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    const std::filesystem::path& at() const { return m_at; }

    // Takes it away at once, though it is in use: the folder beneath is seen, and another mount can
    // be made there. Files that are open work on.
    void detach();

protected:
    explicit Mount(std::filesystem::path at);
    ~Mount();

    void mount(const std::string& source,
        const std::string& type,
        unsigned long flags,
        const std::string& options);

    // Someone else mounted it.
    void takeOver() { m_isMounted = true; }

    // Whether nobody used it any more; detaches it in either case.
    bool unmount();

private:
    std::filesystem::path m_at;
    bool m_isMounted = false;
};

// The same folder at two places; device and inode numbers are the same at both.
class BindMount final : public Mount {
public:
    BindMount(const std::filesystem::path& from, const std::filesystem::path& at);
};

// A disk of this size in memory, rounded up to pages; everybody may write.
class MemoryMount final : public Mount {
public:
    MemoryMount(const std::filesystem::path& at, std::uint64_t sizeBytes);
};

// What is written goes to `upper`, and `lower` is not changed. `work` is the kernel's, on the file
// system of `upper`; both are made where they are missing.
class OverlayMount final : public Mount {
public:
    OverlayMount(const std::filesystem::path& at,
        const std::filesystem::path& lower,
        const std::filesystem::path& upper,
        const std::filesystem::path& work);
};

// A disk with ext4 in an image file, which is made, of that size and empty, where it is missing.
// An image can be mounted more than once; then all mounts of it, or all but the first, are to be
// read-only.
class LoopMount final : public Mount {
public:
    LoopMount(const std::filesystem::path& at,
        const std::filesystem::path& imageFile,
        std::uint64_t sizeBytes,
        bool isReadOnly = false);

    // The disk is pulled: all calls fail, for files that are open too. What was not flushed is
    // lost.
    void die();
};

// A view of folders with an oddity; OddFileSystem.cpp tells modes and options. The folder `at` must
// not lie in one of them, nor they in it.
class OddMount final : public Mount {
public:
    OddMount(const std::string& mode,
        const std::filesystem::path& at,
        const std::vector<std::filesystem::path>& folders,
        const std::vector<std::string>& options = {});
    ~OddMount();

    // The program behind it is killed: all calls fail with ENOTCONN. It stays mounted.
    void die();

    // The program behind it stands still, or goes on: calls wait meanwhile, like those to a server
    // that does not answer.
    void standStill() { m_program->signal(SIGSTOP); }
    void goOn() { m_program->signal(SIGCONT); }

private:
    std::unique_ptr<ChildProgram> m_program;
};

} // namespace test
