// One tree made of several folders, as a pool of disks shows them: a path is looked for in each,
// the first one that has it wins. With one folder it is that folder. Paths begin with a slash;
// folders are asked by their names at every call, so that a disk that is pulled below is gone here
// too. Any thread may call. Calls that do something give 0 or a negative error number.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <sys/statvfs.h>

namespace odd {

class Branches {
public:
    Branches(std::vector<std::string> roots, std::size_t createIn);

    bool has(const std::string& path) const;

    // The path in the first folder that has it; in the one for new files where none has it, so that
    // a call there says why.
    std::string find(const std::string& path) const;

    // The path in each folder that has it; never empty, as above.
    std::vector<std::string> findAll(const std::string& path) const;

    // Where a new file goes; the folders above it are made there as they are elsewhere.
    std::string placeFor(const std::string& path) const;

    // Within each folder that has the old name; what is replaced is replaced in all of them.
    int rename(const std::string& from, const std::string& to, unsigned int flags) const;

    // Within the first folder that has the old name.
    int link(const std::string& from, const std::string& to) const;

    int removeFile(const std::string& path, bool everywhere) const;
    int removeFolder(const std::string& path) const;

    // Room is added up, though no file can have more than there is in one place.
    int space(struct statvfs& out) const;

private:
    std::vector<std::string> rootsOf(const std::string& path) const;
    void makeFoldersAbove(const std::string& root, const std::string& path) const;

    const std::vector<std::string> m_roots;
    const std::size_t m_createIn;
};

} // namespace odd
