// What the command line of odd_file_system asks for; OddFileSystem.cpp says what each word means.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace odd {

struct Options {
    std::string mode;
    std::string mountPoint; // this and the folders: absolute, without links
    std::vector<std::string> folders;

    std::size_t createIn = 0; // which of the folders takes what is new
    bool unlinksEverywhere = true;
    bool refusesLookUps = true;
    bool refusesRenameFlags = false;
    bool refusesLinks = false;
    bool hidesRemoved = false;
    bool forgetsChangeTime = false;

    std::string stuck; // reads wait while it is there; none where it is empty
    std::string trigger; // none where it is empty
    std::optional<std::uint64_t> writesLeft; // bytes; without limit where there is none
    std::optional<std::uint64_t> readsLeft;
};

// MODE [KEY=VALUE...] MOUNTPOINT FOLDER...; throws std::exception with the reason.
Options parseOptions(const std::vector<std::string>& words);

} // namespace odd
