#include "messaging/TevoroTalkUtils.h"
#include "platform/common/files/FileAccess.h"
#include "platform/common/files/SmallFile.h"
#include "platform/common/ports/LocalPort.h"
#include "platform/common/services/Clock.h"
#include "platform/common/services/LocalTime.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/common/text/SystemLocale.h"
#include "platform/common/threads/CurrentThread.h"

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ScObjects::TevoroTalkUtils {

namespace {

constexpr std::size_t kMaxLocaleLength = 15;
// Less the umask, as the header says.
constexpr unsigned int kFolderMode = 0771;
// Of one folder; the header promises this limit.
constexpr std::size_t kMaxEntries = 256;

enum class Walk { kDone, kNothingThere, kEnded };

struct Entry {
    SoString path;
    bool isFolder;
};

Entry entryOf(const SoString& folder, const std::filesystem::directory_entry& found)
{
    SoString path(folder);
    path << getFolderSeparator() << found.path().filename().c_str();
    // A link to a folder counts as a file, so that the walk comes to an end.
    std::error_code unknown;
    return {std::move(path), is_directory(found.symlink_status(unknown))};
}

// The first entries of a folder. Nothing when it cannot be read to the end of these.
std::optional<std::vector<Entry>> entriesOf(const SoString& folder)
{
    std::vector<Entry> entries;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder.get(), error);
    for (; !error && entry != end(entry) && entries.size() < kMaxEntries; entry.increment(error))
        entries.push_back(entryOf(folder, *entry));
    if (error)
        return std::nullopt;
    return entries;
}

// A folder below that is empty or closed does not end the walk; a false from the filter does.
Walk walk(const SoString& folder, FileFilter& filter)
{
    // All entries first, so that no folder stays open while those below it are walked.
    const auto entries = entriesOf(folder);
    if (!entries || entries->empty())
        return Walk::kNothingThere;
    for (const Entry& entry : *entries) {
        const bool goesOn =
            entry.isFolder ? filter.onFolder(entry.path) : filter.onFile(entry.path);
        if (!goesOn || (entry.isFolder && walk(entry.path, filter) == Walk::kEnded))
            return Walk::kEnded;
    }
    return Walk::kDone;
}

} // namespace

void init() { }

void exit() { }

void stopWaitingForOthers()
{
    Pt::stopWaitingForOthers();
}

bool waitsForOthers()
{
    return Pt::waitsForOthers();
}

SoString getCurrentLocale()
{
    const auto locale = Pt::systemLocale();
    if (!locale || locale->size() > kMaxLocaleLength)
        return "en_us";
    return SoString(std::string_view(*locale)).lowercase();
}

bool fileExists(const SoString& path)
{
    return Pt::pathExists(path.get());
}

bool deleteFile(const SoString& path)
{
    return fileExists(path) && Pt::unlinkPath(path.get()) == 0;
}

bool mkdir(const SoString& path)
{
    return fileExists(path) || !Pt::makeFolder(path.get(), kFolderMode);
}

bool rmdir(const SoString& path)
{
    return fileExists(path) && !Pt::removeFolder(path.get());
}

const char* getFolderSeparator()
{
    return "/";
}

void sleep(unsigned int milliseconds)
{
    Pt::sleepOnce(std::chrono::milliseconds(milliseconds));
}

double getUTCTimeMilliSeconds()
{
    return static_cast<double>(Pt::systemClock().wallMilliseconds());
}

std::int64_t getTimeSeconds()
{
    return Pt::systemClock().wallSeconds();
}

SoString getTimeString(const std::int64_t* time)
{
    const std::int64_t seconds = time == nullptr ? getTimeSeconds() : *time;
    const auto parts = Pt::localTime(seconds);
    if (!parts)
        return {};
    // "%H:%M:%S" takes eight characters and a NUL.
    char text[16];
    const std::size_t length = std::strftime(text, sizeof text, "%H:%M:%S", &*parts);
    return SoString(text, static_cast<long>(length));
}

void Timer::start()
{
    m_start = getUTCTimeMilliSeconds();
}

double Timer::now() const
{
    return getUTCTimeMilliSeconds();
}

double Timer::stop() const
{
    return now() - m_start;
}

bool FileFilter::run(const SoString& folder)
{
    return iterateFolder(folder, *this);
}

bool FileFilter::onFile(const SoString&)
{
    return true;
}

bool FileFilter::onFolder(const SoString&)
{
    return true;
}

bool iterateFolder(const SoString& folder, FileFilter& filter)
{
    return walk(folder, filter) == Walk::kDone;
}

SoString getSenderID()
{
    // The word is part of the wire format and says nothing about this machine.
    SoString id("localhost:mac");
    id.append(Pt::processId());
    return id;
}

} // namespace ScObjects::TevoroTalkUtils
