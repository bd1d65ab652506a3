#include "velmo_caps/DamagedStore.h"

#include "platform/common/files/AtomicFile.h"
#include "platform/common/files/FilePlacement.h"
#include "platform/common/files/SmallFile.h"
#include "velmo_caps/StoreSchema.h"
#include "velmo_caps/VelmoCaps.h"

#include <array>
#include <fstream>

namespace velmo_caps {

namespace {

constexpr std::array<const char*, 3> kJournals{"-wal", "-shm", "-journal"};
constexpr int kMaxKept = 10000;

// The mark of the database's header, which a cut or scribbled file still has.
bool saysThatItIsAStore(const std::string& path)
{
    constexpr std::streamoff kPlace = 68;
    std::array<unsigned char, 4> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.seekg(kPlace);
    file.read(reinterpret_cast<char*>(bytes.data()), bytes.size());
    std::int64_t id = 0;
    for (const unsigned char byte : bytes)
        id = id * 256 + byte;
    return file.good() && id == kApplicationId;
}

[[noreturn]] void failToKeep(const std::string& path, const std::error_code& error)
{
    throw StoreError(StoreProblem::kNoPermission,
        "the store " + path + " is damaged and cannot be kept aside: " + error.message(),
        0);
}

std::string freeName(const std::string& path)
{
    for (int number = 1; number <= kMaxKept; ++number) {
        std::string name = path + ".damaged-" + std::to_string(number);
        bool isTaken = Pt::pathExists(name);
        for (const char* const journal : kJournals)
            isTaken |= Pt::pathExists(name + journal);
        if (!isTaken)
            return name;
    }
    failToKeep(path, std::make_error_code(std::errc::file_exists));
}

void move(const std::string& from, const std::string& to)
{
    const std::error_code error = Pt::moveWithoutReplacing(from, to);
    if (error && error != std::errc::no_such_file_or_directory)
        failToKeep(from, error);
}

} // namespace

std::string keepDamagedStoreAside(const StorePlace& place, const std::function<bool()>& isDamaged)
{
    if (place.kind == StoreKind::kNamed && !saysThatItIsAStore(place.path))
        throw StoreError(StoreProblem::kForeign, place.path);
    std::error_code error;
    const auto lock =
        Pt::FileLock::take(place.path + ".lock", std::chrono::seconds(kCapsPatience), error);
    if (!lock)
        failToKeep(place.path, error);
    if (!isDamaged())
        return {};
    std::string name = freeName(place.path);
    // The journals first: they must never be taken for those of the new file.
    for (const char* const journal : kJournals)
        move(place.path + journal, name + journal);
    move(place.path, name);
    return name;
}

} // namespace velmo_caps
