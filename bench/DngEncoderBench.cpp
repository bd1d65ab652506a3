// What lossless compression of a sensor's mosaic costs: 24 megapixels of 14 bits, made here (light
// that falls off, colours that run, and grain), as in a raw file of about 60 percent. Each row
// measures both sides in turn, so that its ratios hold whatever the machine does meanwhile:
//
//   EncodingBesideUnpacking/N   our tiles on N threads, beside LibRaw's unpack() of the same tiles
//                               (which takes one thread), in megapixels a second
//   TilesBesideStrip            bytes of our tiles, beside those of one strip for the whole frame
//
// The aims: on one thread at least 1.4 times the rate of unpacking, and tiles of at most 1.03 times
// the size of a strip.

#include "SensorPicture.h"
#include "modules/ZQPluginSupport/encoding/support/TinyDng.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <libraw/libraw.h>

namespace {

using bench::bytesOf;
using bench::kSensorHeight;
using bench::kSensorWidth;
using bench::sensorFrame;
using bench::sensorPicture;

constexpr double kMegapixels = kSensorWidth * kSensorHeight / 1e6;
constexpr dng::TileCoding kCoding{.isMosaic = true, .precision = bench::kSensorBits};

void unpack(std::string& file, std::chrono::steady_clock::duration& time)
{
    LibRaw library;
    if (library.open_buffer(file.data(), file.size()) != LIBRAW_SUCCESS)
        std::abort();
    const auto begin = std::chrono::steady_clock::now();
    if (library.unpack() != LIBRAW_SUCCESS)
        std::abort();
    time += std::chrono::steady_clock::now() - begin;
    // What is compared is compared for the same picture.
    const std::uint16_t* const raw = library.imgdata.rawdata.raw_image;
    if (raw == nullptr || !std::equal(sensorPicture().begin(), sensorPicture().end(), raw))
        std::abort();
}

double rate(std::chrono::steady_clock::duration time, benchmark::IterationCount pictures)
{
    return kMegapixels * static_cast<double>(pictures)
        / std::chrono::duration<double>(time).count();
}

void EncodingBesideUnpacking(benchmark::State& state)
{
    dng::WorkerThreads threads(static_cast<unsigned int>(state.range(0)));
    dng::TileEncoder encoder(threads);
    const dng::TileSize size = dng::chooseTileSize(kSensorWidth, kSensorHeight);
    test::TinyDng made;
    made.width = kSensorWidth;
    made.height = kSensorHeight;
    made.tile = size;
    made.tiles = encoder.encode(sensorFrame(), size, kCoding);
    std::string file = made.bytes();
    std::chrono::steady_clock::duration encoding{};
    std::chrono::steady_clock::duration unpacking{};
    for ([[maybe_unused]] auto each : state) {
        const auto begin = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(encoder.encode(sensorFrame(), size, kCoding));
        encoding += std::chrono::steady_clock::now() - begin;
        unpack(file, unpacking);
    }
    state.counters["encode_MP_s"] = rate(encoding, state.iterations());
    state.counters["unpack_MP_s"] = rate(unpacking, state.iterations());
    state.counters["ratio"] =
        rate(encoding, state.iterations()) / rate(unpacking, state.iterations());
}
BENCHMARK(EncodingBesideUnpacking)
    ->Arg(1)
    ->Arg(static_cast<int>(std::max(2U, std::thread::hardware_concurrency())))
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void TilesBesideStrip(benchmark::State& state)
{
    dng::WorkerThreads threads;
    dng::TileEncoder encoder(threads);
    std::size_t tiles = 0;
    std::size_t strip = 0;
    for ([[maybe_unused]] auto each : state) {
        tiles = bytesOf(encoder.encode(
            sensorFrame(), dng::chooseTileSize(kSensorWidth, kSensorHeight), kCoding));
        strip = bytesOf(encoder.encode(sensorFrame(), {kSensorWidth, kSensorHeight}, kCoding));
    }
    state.counters["bits_a_sample"] = static_cast<double>(tiles) * 8 / (kMegapixels * 1e6);
    state.counters["ratio"] = static_cast<double>(tiles) / static_cast<double>(strip);
}
BENCHMARK(TilesBesideStrip)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
