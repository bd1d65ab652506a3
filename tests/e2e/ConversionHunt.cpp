#include "e2e/ConversionHunt.h"

#include "e2e/LiveRun.h"
#include "support/NoiseSource.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

namespace e2e {

namespace {

// From the start of a program to the end of a download of such a card, with room to spare.
constexpr std::uint64_t kLongestMoment = 900; // milliseconds

} // namespace

void ConversionHunt::killOneRun(std::uint64_t moment)
{
    LiveRun run(
        {program(), "download", card(), "--to", target(), "--backup", backup(), "--dng", "--json"},
        {.environment = environment(), .hasTerminal = false, .inChild = {}});
    std::this_thread::sleep_for(std::chrono::milliseconds(moment));
    run.signal(SIGKILL);
    run.finish();
}

// What bears a picture's name is that picture: whole, raw or converted.
void ConversionHunt::expectNothingLost() const
{
    const auto onCard = filesIn(card() / "DCIM/100MFX");
    for (const auto& [name, bytes] : filesIn(target())) {
        if (name.starts_with(".mfxdownload") || name.starts_with("."))
            continue;
        const fs::path path = target() / name;
        if (path.extension() == ".dng") {
            EXPECT_TRUE(recordOf(path)) << path << " is half a DNG";
        } else if (onCard.contains(name)) {
            EXPECT_EQ(bytes, onCard.at(name)) << path;
        }
    }
    if (!fs::exists(backup()))
        return;
    for (const auto& [name, bytes] : filesIn(backup()))
        if (!name.starts_with(".")) {
            EXPECT_EQ(bytes, onCard.at(name)) << name;
        }
}

void ConversionHunt::playRound(std::uint64_t seed, int round)
{
    tests::NoiseSource noise(seed * 1000 + static_cast<std::uint64_t>(round));
    for (const fs::path& folder : {card() / "DCIM/100MFX", target(), backup()})
        fs::remove_all(folder);
    fs::create_directories(target());
    fs::create_directories(backup());
    addRaws(3 + static_cast<int>(noise.next() % 6));
    const auto kills = 1 + noise.next() % 3;
    for (std::uint64_t i = 0; i < kills; ++i) {
        killOneRun(noise.next() % kLongestMoment);
        expectNothingLost();
    }
    const RunResult result = downloadWithBackup({"--dng"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    expectConverted();
    EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX"));
}

void ConversionHunt::hunt(std::uint64_t seed, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        playRound(seed, round);
        if (HasFailure()) {
            std::cout << "seed " << seed << ", round " << round << '\n';
            return;
        }
    }
}

} // namespace e2e
