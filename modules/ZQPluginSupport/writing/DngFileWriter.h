// Puts a DNG together in an open, empty file: everything that is large behind the place of its
// head, then the head, which knows by then where all of that lies. One thread; blocks on the disk.
// Refusals of the system are a ConversionFailure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace dng {

// What is in a file when it was written, for whoever reads it back.
struct WrittenBytes {
    std::uint64_t headSize = 0;
    std::uint64_t partsBegin = 0; // between the two there is nothing
    std::uint64_t size = 0;
    unsigned long headChecksum = 0; // CRC-32
    unsigned long partsChecksum = 0;
};

// Whether these are the bytes.
bool holds(std::span<const std::byte> file, const WrittenBytes& written);

class DngFileWriter {
public:
    // Borrows the descriptor. `head` is a TIFF file as DngHead makes it.
    DngFileWriter(int descriptor, std::string head);

    // The parts of the raw picture, in their order.
    void addRawPart(std::span<const std::byte> bytes);
    void addPreview(std::span<const std::uint8_t> jpeg);
    // The raw file's tag, bit by bit.
    void addOriginalPiece(std::span<const std::uint8_t> bytes);

    // Writes the head. Afterwards the file is a DNG.
    WrittenBytes finish();

private:
    struct Part {
        std::uint32_t place = 0;
        std::uint32_t size = 0;
    };

    // Where the head says in what place a part lies, and of which size.
    struct Entries {
        std::uint64_t places = 0;
        std::uint64_t sizes = 0;
        std::uint32_t count = 0; // 0: there are none
    };

    void findEntries();
    Part append(std::span<const std::byte> bytes);
    void align();
    void set(const Entries& entries, const std::vector<Part>& parts);
    void setNumbers(std::uint64_t entry, const std::vector<std::uint32_t>& numbers);
    void setOriginal();

    int m_descriptor;
    std::string m_head;
    Entries m_rawEntries;
    Entries m_previewEntries;
    std::uint64_t m_originalEntry = 0; // 0 for none
    std::vector<Part> m_raw;
    std::vector<Part> m_preview;
    Part m_original;
    std::size_t m_arrays = 0; // where in the head the next list of numbers goes
    std::uint64_t m_begin = 0; // of the parts
    std::uint64_t m_end = 0;
    unsigned long m_checksum = 0; // of the parts
};

} // namespace dng
