#pragma once

#include "platform/common/PtIoDevice.h"
#include "platform/common/PtSmartPointer.h"

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

// An open file. It lives as long as a smart pointer holds it; the last one closes it and, for
// kPtIoTemporary, removes the file. Everything is constant after construction, so that any thread
// may call flush(). Failures of the system are thrown as Pt::ExSystem.
class PtIoDeviceFile final : public Pt::IoDevice {
public:
    using Pointer = Pt::SmartPointer<PtIoDeviceFile>;

    static constexpr std::size_t kMaxStoredPath = 255;

    // Opens the file, with mode 0666 less the process's mask where it is made. Never null.
    static Pointer Create(unsigned short const* path, int flags);

    // A temporary file under a name of its own that begins with up to five bytes of prefix: in the
    // folder that TMPDIR names, else in directory, else in the system's folder for such files.
    // Either argument may be null.
    static Pointer CreateTemp(unsigned short const* directory, unsigned short const* prefix);

    // Blocks until the file's bytes have reached the disk.
    void flush();

    // Bytes at the time of opening.
    std::int64_t fileSize() const { return m_fileSize; }

    // The path, cut to kMaxStoredPath units; valid as long as the object.
    unsigned short const* path() const { return m_path.data(); }

    // Throws when closing or removing fails, but not while another exception is on its way out.
    ~PtIoDeviceFile() noexcept(false) override;

private:
    PtIoDeviceFile(std::string wholePath, int flags);

    // Closes and, for kPtIoTemporary, removes; the first error number, 0 when all went well.
    int close();

    std::int64_t m_fileSize = -1;
    std::array<unsigned short, kMaxStoredPath + 1> m_path{};
    bool m_isOpen = false;
    bool const m_removesOnClose;
    // What was opened and what is removed: the stored path may be cut and then names another file.
    std::string const m_wholePath;
};
