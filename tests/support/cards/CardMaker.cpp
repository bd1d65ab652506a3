#include "support/cards/CardMaker.h"

#include "support/cards/CardPictures.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <system_error>
#include <utility>

namespace tests {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::sys_days kFirstDay = std::chrono::year(2024) / 6 / 14;
constexpr std::chrono::minutes kSummerTime = 2h;

ShotTime onDay(int day, std::chrono::seconds clock, int hundredths = 0)
{
    return {kFirstDay + std::chrono::days(day - 1) + clock, hundredths, kSummerTime};
}

[[noreturn]] void fail(const std::filesystem::path& path, std::error_code error)
{
    throw CardError(path.string() + ": " + error.message());
}

void makeFolderOf(const std::filesystem::path& path)
{
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    if (error)
        fail(path.parent_path(), error);
}

void requireFree(const std::filesystem::path& path)
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(path, error);
    if (std::filesystem::exists(status))
        fail(path, std::make_error_code(std::errc::file_exists));
}

// Names as cameras number them, a thousand to a folder.
std::string numberedName(std::size_t index)
{
    constexpr std::size_t kPerFolder = 1000;
    const std::string digits = std::to_string(index % kPerFolder + 1);
    return "DCIM/" + std::to_string(100 + index / kPerFolder) + "MFXTM/DSC_"
        + std::string(4 - digits.size(), '0') + digits + ".JPG";
}

} // namespace

CardMaker::CardMaker(std::filesystem::path root, std::size_t fileSize, std::uint64_t seed)
    : m_root(std::move(root))
    , m_fileSize(fileSize)
    , m_seed(seed)
{
}

void CardMaker::addPhoto(const std::string& name, const ShotTime& time) const
{
    write(name, withCameraTags(plainPhotoBytes(m_fileSize, noiseFor(name)), time), time);
}

void CardMaker::addRaw(const std::string& name, const ShotTime& time) const
{
    write(name, rawBytes(m_fileSize, noiseFor(name), time), time);
}

void CardMaker::addMovie(const std::string& name, const ShotTime& time) const
{
    write(name, movieBytes(m_fileSize, noiseFor(name), time), time);
}

void CardMaker::addSidecar(const std::string& name, const ShotTime& time) const
{
    write(name, sidecarBytes(), time);
}

void CardMaker::addOneOfEverything() const
{
    const std::string first = "DCIM/100MFXTM/";
    const std::string second = "DCIM/101MFXTM/";
    addPhoto(first + "DSC_0001.JPG", onDay(1, 8h + 12min + 5s, 20));
    addPhoto(first + "DSC_0002.JPG", onDay(1, 18h + 44min + 31s, 75));
    addMovie(first + "MOV_0003.MP4", onDay(1, 19h + 2min + 10s));
    const ShotTime sunrise = onDay(2, 6h + 31min, 5);
    addRaw(first + "DSC_0004.NEF", sunrise);
    addPhoto(first + "DSC_0004.JPG", sunrise);
    addSidecar(first + "DSC_0004.XMP", sunrise);
    const auto burst = 10h + 15min + 22s;
    addPhoto(first + "DSC_0005.JPG", onDay(2, burst, 10));
    addPhoto(first + "DSC_0006.JPG", onDay(2, burst, 43));
    addPhoto(first + "DSC_0007.JPG", onDay(2, burst, 77));
    addPhoto(first + "Gr\u00fc\u00dfe aus K\u00f6ln.JPG", onDay(2, 12h));
    addPhoto(second + "DSC_0001.JPG", onDay(3, 9h + 30min + 1s, 50));
    addPhoto(second + "DSC_0002.JPG", onDay(3, 23h + 59min + 59s, 98));
}

void CardMaker::addMany(std::size_t count) const
{
    constexpr std::size_t kPictureSize = 8000;
    constexpr auto kBetweenShots = 37s;
    const std::string picture = plainPhotoBytes(kPictureSize, NoiseSource(m_seed));
    for (std::size_t index = 0; index < count; ++index) {
        const std::string name = numberedName(index);
        const ShotTime time = onDay(1, 8h + kBetweenShots * static_cast<long long>(index));
        std::string bytes = withCameraTags(picture, time);
        if (bytes.size() > m_fileSize)
            throw CardError(std::to_string(m_fileSize) + " bytes do not hold a picture");
        bytes += noiseFor(name).bytes(m_fileSize - bytes.size());
        write(name, bytes, time);
    }
}

void CardMaker::write(const std::string& name, const std::string& bytes, const ShotTime& time) const
{
    const std::filesystem::path path = m_root / name;
    makeFolderOf(path);
    requireFree(path);
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        fail(path, {errno != 0 ? errno : EIO, std::generic_category()});
    std::error_code error;
    std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(time.utc()), error);
    if (error)
        fail(path, error);
}

} // namespace tests
