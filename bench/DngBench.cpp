// What a conversion to DNG costs: 24 megapixels of 14 bits, from a raw file that is compressed
// without loss, to a compressed DNG that is flushed to a disk. Each row is one JSON object.
//
//   dng/plain               without verification, which is for measuring alone
//   dng/verified            as it is done
//   dng/verified+preview    the same with a medium preview
//   dng/full+embedded       with a full preview and the raw file inside
//   dng/linear              with interpolated colours
//   dng/size                bytes of the DNG, beside those of one strip for the whole frame
//   dng/memory              the most that the program mfx-dng had in memory, in bytes a pixel, less
//   dng/memory+...          what it has before its first file
//
// Times are ratios to LibRaw's unpack() of the same raw file with its open_buffer(), measured in
// turn with it: medians of the runs, and of the ratios run by run. The aims: at most 2.2, 3.2 and 4
// times; 1.03 of a strip; 14 bytes a pixel without a preview.
//
// Usage: dng_bench FOLDER [RUNS [PART]]; FOLDER is made and removed, on the disk to measure; PART
// is a part of the rows' names.

#include "Median.h"
#include "SensorPicture.h"
#include "ZQPluginSupport/Converter.h"
#include "ZQPluginSupport/worker/Conversion.h"
#include "modules/ZQPluginSupport/encoding/support/TinyDng.h"
#include "platform/common/files/NewFile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <libraw/libraw.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr double kPixels = double{bench::kSensorWidth} * bench::kSensorHeight;

void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "dng_bench: %s\n", what);
    std::exit(1);
}

std::string makeRaw(const bench::Samples& samples)
{
    dng::WorkerThreads threads;
    test::TinyDng raw;
    raw.width = bench::kSensorWidth;
    raw.height = bench::kSensorHeight;
    raw.white = (1U << bench::kSensorBits) - 1;
    raw.tile = dng::chooseTileSize(raw.width, raw.height);
    raw.tiles =
        dng::TileEncoder(threads).encode({samples.data(), raw.width, raw.width, raw.height, 1},
            raw.tile,
            {.isMosaic = true, .precision = bench::kSensorBits});
    return raw.bytes();
}

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double unpack(std::string& raw)
{
    const auto begin = Clock::now();
    LibRaw library;
    require(library.open_buffer(raw.data(), raw.size()) == LIBRAW_SUCCESS, "open_buffer");
    require(library.unpack() == LIBRAW_SUCCESS, "unpack");
    return secondsSince(begin);
}

double convert(const std::string& raw,
    const dng::ConversionOptions& options,
    const fs::path& folder,
    dng::WorkerThreads& threads)
{
    std::error_code error;
    const auto begin = Clock::now();
    const auto target = Pt::NewFile::make(folder, 0600, error);
    require(target.has_value(), "no file in the folder");
    const auto bytes = std::as_bytes(std::span(raw.data(), raw.size()));
    dng::convert({bytes, {}, {}, "A.DNG"}, options, target->descriptor(), threads, [] {});
    return secondsSince(begin);
}

void measureTime(const char* name,
    const dng::ConversionOptions& options,
    std::string& raw,
    const fs::path& folder,
    int runs)
{
    dng::WorkerThreads threads;
    std::vector<double> ours;
    std::vector<double> theirs;
    std::vector<double> ratios;
    for (int i = 0; i <= runs; ++i) {
        const double before = unpack(raw);
        const double converting = convert(raw, options, folder, threads);
        const double unpacking = (before + unpack(raw)) / 2; // on both sides of it in time
        if (i == 0)
            continue; // memory and caches are cold
        ours.push_back(converting);
        theirs.push_back(unpacking);
        ratios.push_back(converting / unpacking);
    }
    const auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
    std::printf("{\"name\":\"%s\",\"convert_s\":%.3f,\"unpack_s\":%.3f,\"ratio\":%.2f,"
                "\"ratio_least\":%.2f,\"ratio_most\":%.2f,\"runs\":%d}\n",
        name,
        bench::median(ours),
        bench::median(theirs),
        bench::median(ratios),
        *least,
        *most,
        runs);
    std::fflush(stdout);
}

// Kilobytes.
long peakMemoryOf(unsigned long process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;)
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    require(false, "the program mfx-dng does not run");
    return 0;
}

std::string written(const fs::path& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    require(file.good(), "the raw file cannot be written");
    return path;
}

// Of a program of its own; a raw file of a few pixels first, so that all of the libraries are
// there.
void measureMemory(const char* name,
    const dng::ConversionOptions& options,
    const std::string& raw,
    const fs::path& folder)
{
    dng::Converter converter(MFX_DNG);
    const auto converted = [&](const std::string& source, const char* target) {
        const dng::ConversionTask task{source,
            folder / target,
            static_cast<int>(options.preview),
            true,
            options.isLinear,
            options.embedsRaw};
        require(converter.convert(task) == kZQPluginDone, "not converted");
        fs::remove(folder / target);
        return static_cast<double>(peakMemoryOf(converter.processId())) * 1024;
    };
    test::TinyDng tiny;
    tiny.width = tiny.height = 64;
    tiny.tile = {tiny.width, tiny.height};
    tiny.isCompressed = false;
    tiny.tiles = {dng::EncodedTile(std::size_t{64} * 64 * 2)};
    for (std::size_t i = 0; i < tiny.tiles[0].size(); i += 2)
        tiny.tiles[0][i] = static_cast<std::uint8_t>(i / 2);
    const double before = converted(written(folder / "tiny.raw", tiny.bytes()), "tiny.dng");
    const double most = converted(written(folder / "A.raw", raw), "A.dng");
    std::printf("{\"name\":\"%s\",\"before_mb\":%.1f,\"peak_mb\":%.1f,\"bytes_a_pixel\":%.2f}\n",
        name,
        before / 1e6,
        most / 1e6,
        (most - before) / kPixels);
    std::fflush(stdout);
}

void measureSize(const std::string& raw, const fs::path& folder)
{
    dng::Converter converter(MFX_DNG);
    const fs::path target = folder / "size.dng";
    require(converter.convert({written(folder / "size.raw", raw), target, 0, true}) == 0,
        "not converted");
    dng::WorkerThreads threads;
    const std::size_t strip = bench::bytesOf(dng::TileEncoder(threads).encode(bench::sensorFrame(),
        {bench::kSensorWidth, bench::kSensorHeight},
        {.isMosaic = true, .precision = bench::kSensorBits}));
    const auto size = static_cast<double>(fs::file_size(target));
    std::printf("{\"name\":\"dng/size\",\"dng_mb\":%.2f,\"strip_mb\":%.2f,\"ratio\":%.3f}\n",
        size / 1e6,
        static_cast<double>(strip) / 1e6,
        size / static_cast<double>(strip));
}

using dng::PreviewSize;
const std::pair<const char*, dng::ConversionOptions> kTimes[] = {
    {"dng/plain", {.preview = PreviewSize::kNone, .isVerified = false}},
    {"dng/verified", {.preview = PreviewSize::kNone}},
    {"dng/verified+preview", {.preview = PreviewSize::kMedium}},
    {"dng/full+embedded", {.preview = PreviewSize::kFull, .embedsRaw = true}},
    {"dng/linear", {.preview = PreviewSize::kNone, .isLinear = true}},
};
const std::pair<const char*, dng::ConversionOptions> kMemory[] = {
    {"dng/memory", {.preview = PreviewSize::kNone}},
    {"dng/memory+preview", {.preview = PreviewSize::kMedium}},
    {"dng/memory+full+embedded", {.preview = PreviewSize::kFull, .embedsRaw = true}},
    {"dng/memory+linear", {.preview = PreviewSize::kNone, .isLinear = true}},
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER [RUNS [PART]]\n", argv[0]);
        return 2;
    }
    // As the program mfx-dng is started: LibRaw makes no threads of its own.
    if (!std::getenv("OMP_NUM_THREADS")) {
        ::setenv("OMP_NUM_THREADS", "1", 1);
        ::execv("/proc/self/exe", argv);
        require(false, "cannot start itself anew");
    }
    const fs::path folder = fs::absolute(argv[1]);
    const int runs = argc > 2 ? std::atoi(argv[2]) : 9;
    const auto isWanted = [part = std::string(argc > 3 ? argv[3] : "")](const char* name) {
        return std::string(name).find(part) != std::string::npos;
    };
    require(fs::create_directories(folder), "the folder is there already");
    std::string raw = makeRaw(bench::sensorPicture());
    for (const auto& [name, options] : kTimes)
        if (isWanted(name))
            measureTime(name, options, raw, folder, std::max(runs, 1));
    if (isWanted("dng/size"))
        measureSize(raw, folder);
    for (const auto& [name, options] : kMemory)
        if (isWanted(name))
            measureMemory(name, options, raw, folder);
    fs::remove_all(folder);
    return 0;
}
