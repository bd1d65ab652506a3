#include "ZQPluginSupport/Converter.h"

#include "ZQPluginSupport/original/OriginalRecord.h"
#include "platform/common/files/FileCopy.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/files/NewFile.h"
#include "platform/common/files/RegularFile.h"
#include "platform/common/services/ModuleLoader.h"
#include "platform/common/services/ProcessFence.h"

#include <algorithm>
#include <filesystem>
#include <utility>
#include <vector>

namespace dng {

namespace {

namespace fs = std::filesystem;

constexpr unsigned int kMode = 0666; // less the process's mask
constexpr std::uint64_t kGibibyte = 1ULL << 30;
// The program itself with its threads, and what a decoder may need for each byte of a raw file:
// that of a full preview of the best compressed files was the most.
constexpr std::uint64_t kLeastAddresses = 2 * kGibibyte;
constexpr std::uint64_t kAddressesPerByte = 48;
// Where a raw file lies while it is converted, files beside it lie one folder up.
constexpr const char* kFolderAside = ".mfxdownload";

ZQPluginResult resultOfTarget(const std::error_code& error)
{
    if (error == std::errc::file_exists)
        return kZQPluginTargetExists;
    if (error == std::errc::no_space_on_device)
        return kZQPluginNoSpace;
    if (error == std::errc::io_error)
        return kZQPluginWriteFailed;
    return kZQPluginTargetUnwritable;
}

// A file with the raw file's name and one of these suffixes, beside it.
std::optional<Pt::RegularFile> openBeside(
    const fs::path& raw, std::initializer_list<const char*> suffixes)
{
    std::vector<fs::path> folders{raw.parent_path()};
    if (folders[0].filename() == kFolderAside)
        folders.push_back(folders[0].parent_path());
    for (const fs::path& folder : folders)
        for (const char* const suffix : suffixes) {
            std::error_code error;
            if (auto file = Pt::openRegularFile((folder / raw.stem()).string() + suffix, error))
                return file;
        }
    return std::nullopt;
}

} // namespace

// All that a conversion reads and writes, opened before the program that does not get to see paths.
class Converter::Files {
public:
    // kZQPluginDone when they are open.
    ZQPluginResult open(const ConversionTask& task)
    {
        std::error_code error;
        m_raw = Pt::openRegularFile(task.source, error);
        if (!m_raw)
            return kZQPluginSourceUnreadable;
        if (Pt::fileStatus(task.destination, error))
            return kZQPluginTargetExists;
        const std::string folder = fs::path(task.destination).parent_path().string();
        Pt::removeStaleCopies(folder.empty() ? "." : folder);
        m_target = Pt::NewFile::make(folder.empty() ? "." : folder, kMode, error);
        if (!m_target)
            return resultOfTarget(error);
        m_sidecar = openBeside(task.source, {".xmp", ".XMP"});
        m_thumbnail = openBeside(task.source, {".THM", ".thm"});
        return kZQPluginDone;
    }

    std::uint64_t rawSize() const { return m_raw->status.size; }
    bool hasSidecar() const { return m_sidecar.has_value(); }
    bool hasThumbnail() const { return m_thumbnail.has_value(); }

    std::vector<int> descriptors() const
    {
        std::vector<int> all{m_raw->descriptor.get(), m_target->descriptor()};
        for (const auto* beside : {&m_sidecar, &m_thumbnail})
            if (*beside)
                all.push_back((*beside)->descriptor.get());
        return all;
    }

    // With the time of the raw file, where the file system takes one.
    ZQPluginResult place(const std::string& destination)
    {
        [[maybe_unused]] const std::error_code refused =
            m_target->setModified(m_raw->status.modified);
        const std::error_code error = m_target->place(destination);
        return error ? resultOfTarget(error) : kZQPluginDone;
    }

private:
    std::optional<Pt::RegularFile> m_raw;
    std::optional<Pt::NewFile> m_target;
    std::optional<Pt::RegularFile> m_sidecar;
    std::optional<Pt::RegularFile> m_thumbnail;
};

Converter::Converter(std::string program, ConverterLimits limits)
    : m_program(std::move(program))
    , m_limits(limits)
{
}

ZQPluginResult Converter::convert(const ConversionTask& task)
{
    if (task.preview < 0 || task.preview > 2
        || !isFileName(fs::path(task.source).filename().string()))
        return kZQPluginBadRequest;
    Files files;
    if (const ZQPluginResult result = files.open(task); result != kZQPluginDone)
        return result;
    if (!makeReady())
        return kZQPluginIncomplete;
    const ZQPluginResult result = runWorker(files, task);
    return result == kZQPluginDone ? files.place(task.destination) : result;
}

bool Converter::makeReady()
{
    if (m_worker && Pt::isProcessRunning(m_worker->process()))
        return true;
    std::error_code error;
    // The raw library would begin threads of its own, which it may not have behind the fence, and
    // whose number would decide about the outcome.
    m_worker = Pt::WorkerProcess::start(m_program, {"OMP_NUM_THREADS=1"}, error);
    Pt::ChannelMessage message;
    if (m_worker
        && m_worker->channel().receive(message, m_limits.start)
            == Pt::DescriptorChannel::Heard::kMessage
        && parseAnswer(message.bytes) == WorkAnswer{WorkAnswer::Kind::kReady})
        return true;
    m_worker.reset();
    return false;
}

ZQPluginResult Converter::runWorker(const Files& files, const ConversionTask& task)
{
    const std::uint64_t addresses =
        kLeastAddresses + kAddressesPerByte * std::min(files.rawSize(), 16 * kGibibyte);
    if (Pt::kFenceHasFilters) [[maybe_unused]]
        const std::error_code refused =
            m_worker->bound(addresses, static_cast<std::uint64_t>(m_limits.processorTime.count()));
    const WorkOrder order{task.preview,
        task.isCompressed,
        task.isLinear,
        task.embedsRaw,
        files.hasSidecar(),
        files.hasThumbnail(),
        fs::path(task.source).filename().string()};
    if (m_worker->channel().send(formatOrder(order), files.descriptors())) {
        m_worker.reset();
        return kZQPluginDecoderDied;
    }
    return awaitResult();
}

// A program that is not heard of for so long, or that says what it should not, is ended.
ZQPluginResult Converter::awaitResult()
{
    for (;;) {
        Pt::ChannelMessage message;
        const auto heard = m_worker->channel().receive(message, m_limits.silence);
        const auto answer = parseAnswer(message.bytes);
        if (heard == Pt::DescriptorChannel::Heard::kMessage && answer) {
            if (answer->kind == WorkAnswer::Kind::kDone)
                return answer->result;
            if (answer->kind == WorkAnswer::Kind::kGoesOn)
                continue;
        }
        m_worker.reset();
        return heard == Pt::DescriptorChannel::Heard::kNothingYet ? kZQPluginDecoderHung
                                                                  : kZQPluginDecoderDied;
    }
}

std::string programOfLibrary()
{
    return (fs::path(Pt::ownModuleFolder()) / "../../bin/mfx-dng").lexically_normal().string();
}

} // namespace dng
