#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The few calls on files and descriptors that the 16-bit string functions and the file device
// need. Paths are bytes as the system takes them. Results are the system's: -1 and errno for a
// failure, and a call that a signal broke off is made again. Any thread may call.
namespace Pt {

enum class FileOpening {
    kReadOnly,
    kReadWrite,
    kReadWriteOrCreate,
    kCreateOrTruncate,
    kCreateExclusively, // fails when something stands there, a dead link too
};

// What accessPath() asks for, added up; 0 asks whether something is there. POSIX's numbers.
inline constexpr int kMayRead = 4;
inline constexpr int kMayWrite = 2;
inline constexpr int kMayExecute = 1; // of a folder: enter it

int accessPath(const std::string& path, int mode);

// Descriptors are close-on-exec from birth.
int openPath(const std::string& path, int systemFlags, unsigned int mode);
int openPath(const std::string& path, FileOpening how, unsigned int mode);
int closeDescriptor(int descriptor);

int unlinkPath(const std::string& path);

// Tries to lock an open file against those who look whether it was left behind (flock); a file
// system without locks has nobody who could look.
void lockDescriptor(int descriptor);

// Blocks until the bytes have reached the disk.
int syncDescriptor(int descriptor);

// The position of the end; the position moves there.
std::int64_t seekToEnd(int descriptor);

// 0 once the position is the first byte's.
int seekToStart(int descriptor);

// Blocking transfers at the position, which moves on. The bytes transferred, which may be fewer
// than asked for; a read gives 0 at the end.
std::int64_t readDescriptor(int descriptor, void* bytes, std::size_t count);
std::int64_t writeDescriptor(int descriptor, const void* bytes, std::size_t count);

} // namespace Pt
