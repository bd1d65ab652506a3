#include "support/disks/Branches.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace odd {

namespace {

bool exists(const std::string& path)
{
    struct stat unused { };
    return ::lstat(path.c_str(), &unused) == 0;
}

int answer(int result)
{
    return result == 0 ? 0 : -errno;
}

} // namespace

Branches::Branches(std::vector<std::string> roots, std::size_t createIn)
    : m_roots(std::move(roots))
    , m_createIn(createIn)
{
}

bool Branches::has(const std::string& path) const
{
    return std::any_of(m_roots.begin(), m_roots.end(), [&](const std::string& root) {
        return exists(root + path);
    });
}

std::vector<std::string> Branches::rootsOf(const std::string& path) const
{
    std::vector<std::string> holders;
    std::copy_if(
        m_roots.begin(), m_roots.end(), std::back_inserter(holders), [&](const std::string& root) {
            return exists(root + path);
        });
    if (holders.empty())
        holders.push_back(m_roots[m_createIn]);
    return holders;
}

std::string Branches::find(const std::string& path) const
{
    return rootsOf(path).front() + path;
}

std::vector<std::string> Branches::findAll(const std::string& path) const
{
    std::vector<std::string> paths = rootsOf(path);
    for (std::string& root : paths)
        root += path;
    return paths;
}

std::string Branches::placeFor(const std::string& path) const
{
    makeFoldersAbove(m_roots[m_createIn], path);
    return m_roots[m_createIn] + path;
}

void Branches::makeFoldersAbove(const std::string& root, const std::string& path) const
{
    const std::string above = path.substr(0, path.rfind('/'));
    if (above.empty() || exists(root + above))
        return;
    struct stat like { };
    if (::lstat(find(above).c_str(), &like) != 0)
        return; // what follows fails, and says that it is missing
    makeFoldersAbove(root, above);
    const std::string folder = root + above;
    if (::mkdir(folder.c_str(), like.st_mode & 07777) == 0
        && ::lchown(folder.c_str(), like.st_uid, like.st_gid) != 0)
        return; // as an ordinary user: it stays ours
}

int Branches::rename(const std::string& from, const std::string& to, unsigned int flags) const
{
    if ((flags & RENAME_NOREPLACE) != 0 && has(to))
        return -EEXIST;
    const std::vector<std::string> holders = rootsOf(from);
    for (const std::string& root : holders) {
        makeFoldersAbove(root, to);
        if (::renameat2(AT_FDCWD, (root + from).c_str(), AT_FDCWD, (root + to).c_str(), flags) != 0)
            return -errno;
    }
    for (const std::string& root : m_roots)
        if (std::find(holders.begin(), holders.end(), root) == holders.end())
            std::remove((root + to).c_str());
    return 0;
}

int Branches::link(const std::string& from, const std::string& to) const
{
    if (has(to))
        return -EEXIST;
    const std::string root = rootsOf(from).front();
    makeFoldersAbove(root, to);
    return answer(::link((root + from).c_str(), (root + to).c_str()));
}

int Branches::removeFile(const std::string& path, bool everywhere) const
{
    for (const std::string& place : findAll(path)) {
        if (::unlink(place.c_str()) != 0)
            return -errno;
        if (!everywhere)
            break;
    }
    return 0;
}

int Branches::removeFolder(const std::string& path) const
{
    const std::vector<std::string> places = findAll(path);
    std::error_code unused;
    for (const std::string& place : places)
        if (std::filesystem::is_directory(place) && !std::filesystem::is_empty(place, unused))
            return -ENOTEMPTY;
    for (const std::string& place : places)
        if (::rmdir(place.c_str()) != 0)
            return -errno;
    return 0;
}

int Branches::space(struct statvfs& out) const
{
    std::set<unsigned long> counted; // a device that holds two of the folders counts once
    out = {};
    for (const std::string& root : m_roots) {
        struct statvfs one { };
        if (::statvfs(root.c_str(), &one) != 0)
            return -errno;
        if (!counted.insert(one.f_fsid).second)
            continue;
        if (out.f_frsize == 0) {
            out = one;
            continue;
        }
        out.f_blocks += one.f_blocks * one.f_frsize / out.f_frsize;
        out.f_bfree += one.f_bfree * one.f_frsize / out.f_frsize;
        out.f_bavail += one.f_bavail * one.f_frsize / out.f_frsize;
    }
    return 0;
}

} // namespace odd
