// For tests of file systems with an oddity: two folders, a and b, and a place to mount them at.
#pragma once

#include "support/TestFolder.h"
#include "support/disks/Mounts.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test {

namespace fs = std::filesystem;

class OddMountFixture : public testing::Test {
protected:
    void SetUp() override
    {
        if (!canMount()) {
            GTEST_SKIP() << "mounting takes root, in no container that forbids it";
        }
        for (const char* folder : {"at", "a", "b"})
            fs::create_directory(m_folder.path(folder));
    }

    std::unique_ptr<OddMount> mount(
        const std::string& mode, const std::vector<std::string>& options = {})
    {
        return mountOf(mode, {m_folder.path("a")}, options);
    }

    // The folders a and b as one.
    std::unique_ptr<OddMount> pool(const std::vector<std::string>& options = {})
    {
        return mountOf("pool", {m_folder.path("a"), m_folder.path("b")}, options);
    }

    std::string at() const { return m_folder.path("at"); }
    std::string in(const std::string& name) const { return at() + "/" + name; }
    bool exists(const std::string& name) const { return fs::exists(m_folder.path(name)); }

    // 0 or the error number, as the helpers below.
    static int create(const std::string& path)
    {
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
        return file < 0 ? errno : done(::close(file));
    }

    int rename(const std::string& from, const std::string& to, unsigned int flags = 0) const
    {
        return done(::renameat2(AT_FDCWD, in(from).c_str(), AT_FDCWD, in(to).c_str(), flags));
    }

    int link(const std::string& from, const std::string& to) const
    {
        return done(::link(in(from).c_str(), in(to).c_str()));
    }

    static int look(const std::string& path)
    {
        struct stat told { };
        return done(::stat(path.c_str(), &told));
    }

    static struct stat told(const std::string& path)
    {
        struct stat out { };
        EXPECT_EQ(::stat(path.c_str(), &out), 0) << path;
        return out;
    }

    static std::vector<std::string> namesIn(const std::string& folder)
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder))
            names.push_back(entry.path().filename());
        return names;
    }

    static int done(int result) { return result == 0 ? 0 : errno; }

    TestFolder m_folder;

private:
    std::unique_ptr<OddMount> mountOf(const std::string& mode,
        const std::vector<fs::path>& folders,
        const std::vector<std::string>& options)
    {
        return std::make_unique<OddMount>(mode, at(), folders, options);
    }
};

} // namespace test
