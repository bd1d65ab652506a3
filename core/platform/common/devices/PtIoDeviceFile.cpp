#include "platform/common/devices/PtIoDeviceFile.h"

#include "platform/common/files/FileAccess.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/services/PtExSystem.h"
#include "platform/common/text/PtUcs.h"
#include "platform/common/text/PtUnicode.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <random>
#include <string_view>

namespace {

constexpr unsigned int kFileMode = 0666;
// Bytes; the header promises that much of a prefix.
constexpr std::size_t kMaxTemporaryPrefix = 5;
constexpr std::size_t kTemporaryRandomPart = 6;
// With 36 letters at six places, that many collisions in a row are no accident.
constexpr int kTemporaryAttempts = 100;

Pt::FileOpening openingOf(int flags)
{
    switch (flags) {
    case kPtIoOpenOrCreate:
        return Pt::FileOpening::kReadWriteOrCreate;
    case kPtIoOpenExisting:
        return Pt::FileOpening::kReadWrite;
    case kPtIoCreateNew:
        return Pt::FileOpening::kCreateOrTruncate;
    case kPtIoTemporary:
        return Pt::FileOpening::kCreateExclusively;
    default:
        return Pt::FileOpening::kReadOnly;
    }
}

bool isFolder(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

std::string temporaryFolder(const std::string& wanted)
{
    // TMPDIR comes before the caller's folder, on purpose: it is the user's choice.
    const auto overriding = Pt::environmentVariable("TMPDIR");
    if (overriding && isFolder(*overriding))
        return *overriding;
    return isFolder(wanted) ? wanted : "/tmp";
}

// Cut between characters.
std::string temporaryPrefix(std::string prefix)
{
    std::size_t length = std::min(prefix.size(), kMaxTemporaryPrefix);
    while (length > 0 && length < prefix.size()
        && (static_cast<unsigned char>(prefix[length]) & 0xC0) == 0x80)
        --length;
    prefix.resize(length);
    return prefix;
}

std::string randomName()
{
    constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuvwxyz";
    // Asked anew for each name: names that a program could foretell could be taken before it.
    std::random_device source;
    std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
    std::string name;
    for (std::size_t i = 0; i < kTemporaryRandomPart; ++i)
        name += kLetters[letter(source)];
    return name;
}

} // namespace

PtIoDeviceFile::Pointer PtIoDeviceFile::Create(const unsigned short* path, int flags)
{
    return Pointer(new PtIoDeviceFile(Pt::toUtf8(path), flags));
}

PtIoDeviceFile::Pointer PtIoDeviceFile::CreateTemp(
    const unsigned short* directory, const unsigned short* prefix)
{
    const std::string start =
        temporaryFolder(Pt::toUtf8(directory)) + "/" + temporaryPrefix(Pt::toUtf8(prefix));
    for (int attempt = 1;; ++attempt) {
        try {
            return Pointer(new PtIoDeviceFile(start + randomName(), kPtIoTemporary));
        } catch (const Pt::ExSystem& failure) {
            // Only a taken name is worth another try.
            if (failure.errorCode() != EEXIST || attempt == kTemporaryAttempts)
                throw;
        }
    }
}

PtIoDeviceFile::PtIoDeviceFile(std::string wholePath, int flags)
    : IoDevice(kRequestLimit, kRequestLimit)
    , m_removesOnClose(flags == kPtIoTemporary)
    , m_wholePath(std::move(wholePath))
{
    // Cut to what is stored; the whole path is kept beside it, for removing the file.
    ptucsncpy(m_path.data(), Pt::toUtf16(m_wholePath).c_str(), kMaxStoredPath);
    m_descriptor = Pt::openPath(m_wholePath, openingOf(flags), kFileMode);
    if (m_descriptor < 0)
        throw Pt::ExSystem(Pt::ErrorCode(), Pt::ExWhere::here());
    // From here on release() closes and removes what was opened, also after a failure below.
    m_isOpen = true;
    if (m_removesOnClose)
        Pt::lockDescriptor(m_descriptor);
    m_fileSize = Pt::seekToEnd(m_descriptor);
    if (m_fileSize < 0 || Pt::seekToStart(m_descriptor) != 0) {
        const int error = Pt::ErrorCode();
        // Kept, because closing and removing change errno.
        release();
        throw Pt::ExSystem(error, Pt::ExWhere::here());
    }
}

PtIoDeviceFile::~PtIoDeviceFile() noexcept(false)
{
    const int error = release();
    // A second exception would end the process; the first one has told that something failed.
    if (error != 0 && std::uncaught_exceptions() == 0)
        throw Pt::ExSystem(error, Pt::ExWhere::here());
}

void PtIoDeviceFile::flush()
{
    if (Pt::syncDescriptor(m_descriptor) != 0)
        throw Pt::ExSystem(Pt::ErrorCode(), Pt::ExWhere::here());
}

void PtIoDeviceFile::close()
{
    if (const int error = release(); error != 0)
        throw Pt::ExSystem(error, Pt::ExWhere::here());
}

void PtIoDeviceFile::issueRead_(Pt::IoRequest& request)
{
    doTransfer(request, Pt::readDescriptor);
}

void PtIoDeviceFile::issueWrite_(Pt::IoRequest& request)
{
    doTransfer(request, Pt::writeDescriptor);
}

template <typename Transfer>
void PtIoDeviceFile::doTransfer(Pt::IoRequest& request, Transfer transfer)
{
    if (isClosed()) {
        completeRequest_(request, EBADF, 0);
        return;
    }
    const std::int64_t bytes = transfer(m_descriptor, request.bytes(), request.length());
    // Thrown while the request is being issued: the caller gets it, or the device turns it into a
    // failed completion.
    if (bytes < 0)
        throw Pt::ExSystem(Pt::ErrorCode(), Pt::ExWhere::here());
    completeRequest_(request, 0, static_cast<std::uint32_t>(bytes));
}

int PtIoDeviceFile::release()
{
    if (!m_isOpen)
        return 0;
    m_isOpen = false;
    // The name goes first: while the file is open, its lock says that it is in use.
    const int unlinkError =
        !m_removesOnClose || Pt::unlinkPath(m_wholePath) == 0 ? 0 : Pt::ErrorCode();
    const int closeError = Pt::closeDescriptor(m_descriptor) == 0 ? 0 : Pt::ErrorCode();
    m_descriptor = -1;
    return closeError != 0 ? closeError : unlinkError;
}
