// Makes a camera's card in a folder: real photos with dates, a raw file with its JPEG and sidecar,
// a movie, a burst, for tests, benchmarks and demonstrations. The same seed gives the same bytes
// and file times. Nothing that stands there is written over. Does not keep files open; one thread.
#pragma once

#include "support/NoiseSource.h"
#include "support/cards/ShotTime.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tests {

// The card cannot be made there; the text names the file and the reason.
class CardError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class CardMaker {
public:
    // `fileSize`: about how many bytes a photo, a raw file or a movie takes.
    CardMaker(std::filesystem::path root, std::size_t fileSize, std::uint64_t seed);

    // One file each, at a path below the root whose folders are made. All throw CardError.
    void addPhoto(const std::string& name, const ShotTime& time) const;
    void addRaw(const std::string& name, const ShotTime& time) const;
    void addMovie(const std::string& name, const ShotTime& time) const;
    void addSidecar(const std::string& name, const ShotTime& time) const;

    // A card with one of everything, below DCIM: three days in two folders, two of them with files
    // of one name, a burst within a second, a name with umlauts.
    void addOneOfEverything() const;

    // `count` photos of exactly the file size: a small picture each, and noise behind its end,
    // which viewers pass over. As fast as the disk.
    void addMany(std::size_t count) const;

private:
    NoiseSource noiseFor(const std::string& name) const { return {m_seed, name}; }
    void write(const std::string& name, const std::string& bytes, const ShotTime& time) const;

    std::filesystem::path m_root;
    std::size_t m_fileSize;
    std::uint64_t m_seed;
};

} // namespace tests
