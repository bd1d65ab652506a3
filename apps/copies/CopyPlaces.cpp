#include "copies/CopyPlaces.h"

#include "platform/common/files/AtomicFile.h"
#include "platform/common/files/FileStatus.h"
#include "platform/common/services/UserFolders.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

namespace copies {

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

constexpr std::size_t kNotesLimit = 1 << 20; // bytes
constexpr std::chrono::seconds kPatience{1};
constexpr unsigned int kNotesMode = 0600;

std::string notesFolder()
{
    return Pt::userStateFolder() + "/mfx";
}

std::string notesPath()
{
    return notesFolder() + "/copy-places.json";
}

// Paths are bytes; what is no UTF-8 has no place in JSON and is not noted.
std::string textOf(const std::vector<CopyPlaces>& all)
{
    Json list = Json::array();
    for (const CopyPlaces& places : all)
        list.push_back({{"pictures", places.pictures}, {"backup", places.backup}});
    return list.dump(1) + '\n';
}

bool isBelow(const std::string& path, const std::string& folder)
{
    return path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

bool holdSameBytes(const std::string& one, const std::string& other)
{
    std::ifstream first(one, std::ios::binary);
    std::ifstream second(other, std::ios::binary);
    std::vector<char> a(1 << 16);
    std::vector<char> b(a.size());
    while (first && second) {
        first.read(a.data(), static_cast<std::streamsize>(a.size()));
        second.read(b.data(), static_cast<std::streamsize>(b.size()));
        if (first.gcount() != second.gcount()
            || !std::equal(a.begin(), a.begin() + first.gcount(), b.begin()))
            return false;
    }
    return first.eof() && second.eof();
}

bool isSecondCopy(const std::string& path, const std::string& candidate)
{
    std::error_code error;
    const auto original = Pt::fileStatus(path, error);
    const auto copy = Pt::fileStatus(candidate, error);
    const bool areFiles = original && copy && original->kind == Pt::FileStatus::Kind::kRegular
        && copy->kind == Pt::FileStatus::Kind::kRegular;
    if (!areFiles || original->size != copy->size)
        return false;
    // Two names of one file are one copy.
    const bool isOneFile = original->device == copy->device && original->inode == copy->inode;
    return !isOneFile && holdSameBytes(path, candidate);
}

} // namespace

std::vector<CopyPlaces> notedPlaces()
{
    const Pt::FileContent content = Pt::readFile(notesPath(), kNotesLimit);
    if (content.state != Pt::FileContent::State::kRead)
        return {};
    const Json list = Json::parse(content.bytes, nullptr, false);
    std::vector<CopyPlaces> all;
    for (const Json& entry : list.is_array() ? list : Json::array()) {
        const auto text = [&entry](const char* key) {
            const auto found = entry.is_object() ? entry.find(key) : entry.end();
            return entry.is_object() && found != entry.end() && found->is_string()
                ? found->get<std::string>()
                : std::string();
        };
        const CopyPlaces places{text("pictures"), text("backup")};
        if (places.pictures.starts_with('/') && places.backup.starts_with('/'))
            all.push_back(places);
    }
    return all;
}

std::error_code notePlaces(const CopyPlaces& places)
{
    std::error_code error;
    fs::create_directories(notesFolder(), error);
    const auto lock = Pt::FileLock::take(notesFolder() + "/copy-places.lock", kPatience, error);
    if (!lock)
        return error;
    std::vector<CopyPlaces> all = notedPlaces();
    std::erase(all, places);
    all.insert(all.begin(), places);
    all.resize(std::min(all.size(), kMaxPlaces));
    try {
        return Pt::writeFileAtomically(notesPath(), textOf(all), kNotesMode);
    } catch (const Json::exception&) {
        return std::make_error_code(std::errc::illegal_byte_sequence);
    }
}

std::optional<std::string> secondCopyOf(const std::string& path)
{
    const std::string name = fs::path(path).filename().string();
    for (const CopyPlaces& places : notedPlaces()) {
        const std::string candidate = places.backup + '/' + name;
        if (isBelow(path, places.pictures) && isSecondCopy(path, candidate))
            return candidate;
    }
    return std::nullopt;
}

} // namespace copies
