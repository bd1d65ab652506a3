#pragma once

#include "platform/common/devices/PtIoDevice.h"
#include "platform/common/services/PtSmartPointer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

// How PtIoDeviceFile opens. Any other value opens read only.
enum PtIoDeviceFileFlags : int {
    kPtIoOpenOrCreate = 0,
    kPtIoReadOnly = 1,
    kPtIoOpenExisting = 2,
    kPtIoCreateNew = 3,
    kPtIoTemporary = 4, // made afresh, never over what stands there, and removed when it is closed
};

// An open file, at its first byte. It lives as long as a smart pointer holds it; the last one
// closes it and, for kPtIoTemporary, removes the file. Until then everything is constant, so that
// any thread may call flush() and give it requests (Pt::IoDevice). These are blocking transfers,
// each at the position that the one before has left: the call that issues one does it, and a signal
// does not break it off. It has no mutex of its own: the system keeps the position, and the device
// its queues. Failures of the system are thrown as Pt::ExSystem.
class PtIoDeviceFile final : public Pt::IoDevice {
public:
    using Pointer = Pt::SmartPointer<PtIoDeviceFile>;

    static constexpr std::size_t kMaxStoredPath = 255;

    // Opens the file, with mode 0666 less the process's mask where it is made. Never null.
    static Pointer Create(const unsigned short* path, int flags);

    // A temporary file under a name of its own that begins with up to five bytes of prefix: in the
    // folder that TMPDIR names, else in directory, else in the system's folder for such files.
    // Either argument may be null.
    static Pointer CreateTemp(const unsigned short* directory, const unsigned short* prefix);

    // Blocks until the file's bytes have reached the disk.
    void flush();

    // Closes now instead of with the last pointer, and then throws what failed. A request that is
    // issued afterwards fails with EBADF, reported to its completion. Requires: no other call runs.
    void close();

    // Bytes at the time of opening.
    std::int64_t fileSize() const { return m_fileSize; }

    // The path, cut to kMaxStoredPath units; valid as long as the object.
    const unsigned short* path() const { return m_path.data(); }

    // Throws when closing or removing fails, but not while another exception is on its way out.
    ~PtIoDeviceFile() noexcept(false) override;

private:
    // In flight at a time, of reads and of writes.
    static constexpr std::size_t kRequestLimit = 512;

    PtIoDeviceFile(std::string wholePath, int flags);

    void issueRead_(Pt::IoRequest& request) override;
    void issueWrite_(Pt::IoRequest& request) override;
    // Completes a request with what its transfer gave, or throws the system's error.
    template <typename Transfer>
    void doTransfer(Pt::IoRequest& request, Transfer transfer);

    // Closes and, for kPtIoTemporary, removes; the first error number, 0 when all went well.
    int release();

    std::int64_t m_fileSize = -1;
    std::array<unsigned short, kMaxStoredPath + 1> m_path{};
    bool m_isOpen = false;
    const bool m_removesOnClose;
    // What was opened and what is removed: the stored path may be cut and then names another file.
    const std::string m_wholePath;
};
