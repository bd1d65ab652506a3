// A whole download measured against the plainest loop that does the same work, in one run:
//
//   download/small           2,000 files of 40 KB, saved and proven
//   download/small+backup    the same with a second copy on the same disk
//   download/large           40 files of 50 MB
//   download/large+backup    the same with a second copy
//   download/memory          peak memory of 20,000 items of 4 KB against 2,000
//   download/raws+dng        100 raw files of 8 megapixels, not compressed, with a second copy and
//                            conversion to DNG, beside a download without conversion and `mfx
//                            convert` of the same files: the ratio is to the longer of the two
//
// The loop reads each file once, writes it, flushes it, drops it from the cache and reads it back,
// for each place. The ratio to `cp` followed by a flush of each file stands beside it. Each row is
// one JSON object: median seconds of the runs, and ratios.
//
// Usage: download_bench MFX FOLDER [RUNS [small|raws]]; FOLDER is made and removed, on the disk to
// measure; with "small" only the small files are, with "raws" only the raw files.

#include "Median.h"
#include "modules/ZQPluginSupport/encoding/support/TinyDng.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct Run {
    double seconds = 0;
    long peakKilobytes = 0;
};

void require(bool holds, const std::string& what)
{
    if (holds)
        return;
    std::perror(what.c_str());
    std::exit(1);
}

// A valid start of a JPEG, then bytes that no file system can shrink.
void makeCard(const fs::path& card, int files, std::size_t bytes)
{
    std::mt19937_64 random(7);
    std::vector<char> content(bytes);
    for (int i = 0; i < files; ++i) {
        const fs::path folder = card / "DCIM" / (std::to_string(100 + i / 999) + "BENCH");
        fs::create_directories(folder);
        for (std::size_t at = 0; at + 8 <= bytes; at += 8)
            *reinterpret_cast<std::uint64_t*>(content.data() + at) = random();
        const unsigned char start[] = {0xff, 0xd8, 0xff, 0xdb};
        std::copy(std::begin(start), std::end(start), content.data());
        char name[32];
        std::snprintf(name, sizeof name, "IMG_%04d.JPG", i % 10000);
        std::ofstream file(folder / name, std::ios::binary);
        file.write(content.data(), static_cast<std::streamsize>(bytes));
        require(file.good(), "card");
    }
    ::sync();
}

std::vector<fs::path> filesOf(const fs::path& card)
{
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(card))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void dropFromCache(const fs::path& card)
{
    for (const fs::path& path : filesOf(card)) {
        const int file = ::open(path.c_str(), O_RDONLY);
        ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
        ::close(file);
    }
}

constexpr std::size_t kPiece = 1 << 20;

void writeAndReadBack(int source, const fs::path& target, std::vector<char>& buffer)
{
    const int file = ::open(target.c_str(), O_RDWR | O_CREAT | O_EXCL, 0644);
    require(file >= 0, target);
    ssize_t count = 0;
    ::lseek(source, 0, SEEK_SET);
    while ((count = ::read(source, buffer.data(), kPiece)) > 0)
        require(::write(file, buffer.data(), static_cast<std::size_t>(count)) == count, target);
    require(::fsync(file) == 0, target);
    ::posix_fadvise(file, 0, 0, POSIX_FADV_DONTNEED);
    ::lseek(file, 0, SEEK_SET);
    while (::read(file, buffer.data(), kPiece) > 0) { }
    ::close(file);
}

Run plainLoop(const fs::path& card, const std::vector<fs::path>& places)
{
    std::vector<char> buffer(kPiece);
    const auto start = Clock::now();
    for (const fs::path& path : filesOf(card)) {
        const int source = ::open(path.c_str(), O_RDONLY);
        for (const fs::path& place : places)
            writeAndReadBack(source,
                place / (path.parent_path().filename().string() + path.filename().string()),
                buffer);
        ::close(source);
    }
    return {std::chrono::duration<double>(Clock::now() - start).count(), 0};
}

Run runProgram(std::vector<std::string> words)
{
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const auto start = Clock::now();
    pid_t child = 0;
    require(posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) == 0,
        words[0]);
    int status = 0;
    rusage usage = {};
    ::wait4(child, &status, 0, &usage);
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, words[0] + " failed");
    return {std::chrono::duration<double>(Clock::now() - start).count(), usage.ru_maxrss};
}

Run runCp(const fs::path& card, const std::vector<fs::path>& places)
{
    Run total;
    for (const fs::path& place : places) {
        total.seconds += runProgram({"cp", "-r", card.string(), place.string()}).seconds;
        total.seconds += runProgram(
            {"sh", "-c", "find '" + place.string() + "' -type f -print0 | xargs -0 -n 1 sync"})
                             .seconds;
    }
    return total;
}

Run runMfx(const std::string& mfx,
    const fs::path& card,
    const std::vector<fs::path>& places,
    const std::vector<std::string>& more = {})
{
    std::vector<std::string> words{
        mfx, "download", card.string(), "--to", places[0].string(), "--preferences", "none"};
    if (places.size() > 1)
        words.insert(words.end(), {"--backup", places[1].string()});
    words.insert(words.end(), more.begin(), more.end());
    return runProgram(words);
}

using Work = std::function<Run(const std::vector<fs::path>& places)>;

// Each run writes into folders of its own, and nothing is removed in between: a file system that
// has just lost thousands of files is slow to make new ones, whoever asks.
Run measure(const fs::path& folder, const fs::path& card, bool withBackup, const Work& work)
{
    static int number = 0;
    const fs::path place = folder / ("run-" + std::to_string(++number));
    std::vector<fs::path> places{place / "target"};
    if (withBackup)
        places.push_back(place / "backup");
    for (const fs::path& made : places)
        fs::create_directories(made);
    ::sync();
    dropFromCache(card);
    return work(places);
}

void removeRuns(const fs::path& folder)
{
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.path().filename().string().rfind("run-", 0) == 0)
            fs::remove_all(entry.path());
}

void compare(const std::string& name,
    const fs::path& folder,
    const fs::path& card,
    const std::string& mfx,
    bool withBackup,
    int runs)
{
    std::vector<double> loop;
    std::vector<double> ours;
    std::vector<double> cp;
    long peak = 0;
    for (int i = 0; i < runs; ++i) { // in turn, so that all meet the same disk
        loop.push_back(measure(folder, card, withBackup, [&card](const auto& places) {
            return plainLoop(card, places);
        }).seconds);
        const Run run = measure(folder, card, withBackup, [&](const auto& places) {
            return runMfx(mfx, card, places);
        });
        ours.push_back(run.seconds);
        peak = std::max(peak, run.peakKilobytes);
        cp.push_back(measure(folder, card, withBackup, [&card](const auto& places) {
            return runCp(card, places);
        }).seconds);
    }
    std::printf("{\"name\":\"%s\",\"mfx_s\":%.3f,\"loop_s\":%.3f,\"cp_fsync_s\":%.3f,"
                "\"ratio_to_loop\":%.2f,\"ratio_to_cp\":%.2f,\"peak_mb\":%.1f}\n",
        name.c_str(),
        bench::median(ours),
        bench::median(loop),
        bench::median(cp),
        bench::median(ours) / bench::median(loop),
        bench::median(ours) / bench::median(cp),
        static_cast<double>(peak) / 1024);
    std::fflush(stdout);
}

void compareMemory(const fs::path& folder, const std::string& mfx)
{
    std::vector<double> peaks;
    for (const int files : {2000, 20000}) {
        const fs::path card = folder / "card";
        fs::remove_all(card);
        makeCard(card, files, 4096);
        const Run run = measure(
            folder, card, true, [&](const auto& places) { return runMfx(mfx, card, places); });
        peaks.push_back(static_cast<double>(run.peakKilobytes) / 1024);
    }
    std::printf("{\"name\":\"download/memory\",\"peak_mb_2000\":%.1f,\"peak_mb_20000\":%.1f,"
                "\"ratio\":%.2f}\n",
        peaks[0],
        peaks[1],
        peaks[1] / peaks[0]);
}

// Each with grain of its own, so that no two are one.
void makeRaws(const fs::path& card, int files)
{
    test::TinyDng raw;
    raw.width = 3264;
    raw.height = 2448;
    raw.tile = {raw.width, raw.height};
    raw.isCompressed = false;
    raw.white = 16383;
    raw.tiles.emplace_back(std::size_t{raw.width} * raw.height * 2);
    fs::create_directories(card / "DCIM/100BENCH");
    for (int i = 0; i < files; ++i) {
        std::minstd_rand random(static_cast<unsigned int>(i + 1));
        std::uint8_t* out = raw.tiles[0].data();
        for (std::uint32_t y = 0; y < raw.height; ++y)
            for (std::uint32_t x = 0; x < raw.width; ++x) {
                const auto value = 1000 + x + y + (x + y) % 2 * 900 + random() % 256;
                *out++ = static_cast<std::uint8_t>(value & 0xff);
                *out++ = static_cast<std::uint8_t>(value >> 8);
            }
        const fs::path path = card / "DCIM/100BENCH" / ("IMG_" + std::to_string(1000 + i) + ".CR2");
        std::ofstream file(path, std::ios::binary);
        file << raw.bytes();
        require(file.good(), path);
    }
    ::sync();
}

Run runConvert(const std::string& mfx, const fs::path& card, const std::vector<fs::path>& places)
{
    std::vector<std::string> words{mfx, "convert", "--to", places[0].string()};
    for (const fs::path& path : filesOf(card))
        words.push_back(path.string());
    return runProgram(words);
}

void compareConversion(const fs::path& folder, const std::string& mfx, int runs)
{
    const fs::path card = folder / "card";
    makeRaws(card, 100);
    std::vector<double> both;
    std::vector<double> copying;
    std::vector<double> converting;
    std::vector<double> ratios;
    for (int i = 0; i < runs; ++i) {
        copying.push_back(measure(folder, card, true, [&](const auto& places) {
            return runMfx(mfx, card, places);
        }).seconds);
        converting.push_back(measure(folder, card, false, [&](const auto& places) {
            return runConvert(mfx, card, places);
        }).seconds);
        both.push_back(measure(folder, card, true, [&](const auto& places) {
            return runMfx(mfx, card, places, {"--dng"});
        }).seconds);
        ratios.push_back(both.back() / std::max(copying.back(), converting.back()));
        removeRuns(folder);
    }
    std::printf("{\"name\":\"download/raws+dng\",\"mfx_s\":%.2f,\"copying_s\":%.2f,"
                "\"converting_s\":%.2f,\"ratio_to_longer\":%.2f}\n",
        bench::median(both),
        bench::median(copying),
        bench::median(converting),
        bench::median(ratios));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s MFX FOLDER [RUNS [small|raws]]\n", argv[0]);
        return 2;
    }
    const std::string mfx = fs::absolute(argv[1]);
    const fs::path folder = fs::absolute(argv[2]);
    const int runs = argc > 3 ? std::atoi(argv[3]) : 3;
    const std::string only = argc > 4 ? argv[4] : "";
    fs::create_directories(folder);
    if (only == "raws") {
        compareConversion(folder, mfx, runs);
        fs::remove_all(folder);
        return 0;
    }
    const fs::path card = folder / "card";
    makeCard(card, 2000, 40 * 1024);
    compare("download/small", folder, card, mfx, false, runs);
    compare("download/small+backup", folder, card, mfx, true, runs);
    if (only.empty()) {
        removeRuns(folder);
        fs::remove_all(card);
        makeCard(card, 40, 50 * 1024 * 1024);
        compare("download/large", folder, card, mfx, false, runs);
        removeRuns(folder);
        compare("download/large+backup", folder, card, mfx, true, runs);
        removeRuns(folder);
        compareMemory(folder, mfx);
        fs::remove_all(card);
        compareConversion(folder, mfx, runs);
    }
    fs::remove_all(folder);
    return 0;
}
