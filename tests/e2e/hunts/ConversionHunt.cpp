#include "e2e/hunts/ConversionHunt.h"

#include "e2e/support/LiveRun.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <thread>

namespace e2e {

namespace {

// From the start of a program to the end of a download of such a card, with room to spare.
constexpr std::uint64_t kMaxMoment = 900; // milliseconds

// The sink tries a free name by making an empty file for a moment, and notes the name before that:
// a run that is killed in between leaves both, and the next one clears them away.
bool isNotedAsTried(const fs::path& folder, const std::string& name)
{
    std::error_code none;
    for (const auto& run : fs::directory_iterator(folder / ".mfxdownload", none))
        if (test::read(run.path() / "probes").c_str() == name)
            return true;
    return false;
}

// Without the bytes themselves, which would bury the seed.
void expectSame(const std::string& found, const std::string& original, const fs::path& path)
{
    EXPECT_TRUE(found == original)
        << path << " has " << found.size() << " bytes, its original " << original.size();
}

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

// What bears a picture's name is that picture: whole, raw or converted. Only a name in the backup
// that the killed run was trying may be an empty file.
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
            expectSame(bytes, onCard.at(name), path);
        }
    }
    if (!fs::exists(backup()))
        return;
    for (const auto& [name, bytes] : filesIn(backup()))
        if (!name.starts_with(".") && !(bytes.empty() && isNotedAsTried(backup(), name))) {
            expectSame(bytes, onCard.at(name), backup() / name);
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
        killOneRun(noise.next() % kMaxMoment);
        expectNothingLost();
    }
    const RunResult result = downloadWithBackup({"--dng"});
    EXPECT_EQ(result.code, 0) << result.out << result.err;
    expectConverted();
    EXPECT_EQ(filesIn(backup()), filesIn(card() / "DCIM/100MFX"));
}

// Files with the names of the first card's and other bytes; some that no decoder takes.
void ConversionHunt::makeSecondCard(tests::NoiseSource& noise) const
{
    const fs::path folder = secondCard() / "DCIM/100MFX";
    fs::create_directories(folder);
    for (const auto& [name, bytes] : filesIn(card() / "DCIM/100MFX")) {
        std::string other = test::tinyRaw(96, 64, 5000 + noise.next() % 5000);
        if (noise.next() % 2 == 0)
            other.resize(other.size() / 2);
        std::ofstream(folder / name, std::ios::binary) << other;
        if (noise.next() % 2 == 0)
            fs::resize_file(card() / "DCIM/100MFX" / name, bytes.size() / 2);
    }
}

std::vector<std::string> ConversionHunt::pairOf(const fs::path& folder) const
{
    return {program(),
        "download",
        folder,
        "--to",
        target(),
        "--dng",
        "--delete-originals",
        "--yes",
        "--json"};
}

// As it is, on a card or in the target, or as a whole DNG.
bool ConversionHunt::isKept(const Pt::ContentDigest& content) const
{
    const auto isThat = [&content](const std::string& bytes) {
        Pt::ContentDigester digester;
        digester.add(bytes.data(), bytes.size());
        return digester.finish() == content;
    };
    for (const fs::path& place : {card(), secondCard(), target()})
        for (const auto& [name, bytes] : filesIn(place)) {
            const auto record = fs::path(name).extension() == ".dng"
                ? recordOf(place / name)
                : std::optional<dng::OriginalRecord>();
            if (isThat(bytes) || (record && record->content == content))
                return true;
        }
    return false;
}

// Two downloads at once, one of which may be killed; then each once more, alone.
void ConversionHunt::playPair(std::uint64_t seed, int round)
{
    tests::NoiseSource noise(seed * 1000 + static_cast<std::uint64_t>(round));
    for (const fs::path& folder : {card() / "DCIM/100MFX", secondCard(), target()})
        fs::remove_all(folder);
    fs::create_directories(target());
    addRaws(3 + static_cast<int>(noise.next() % 6));
    makeSecondCard(noise);
    std::vector<Pt::ContentDigest> contents;
    for (const fs::path& place : {card(), secondCard()})
        for (const auto& [name, bytes] : filesIn(place)) {
            Pt::ContentDigester digester;
            digester.add(bytes.data(), bytes.size());
            contents.push_back(digester.finish());
        }
    const LiveSettings settings{.environment = environment(), .hasTerminal = false, .inChild = {}};
    {
        LiveRun one(pairOf(card()), settings);
        std::this_thread::sleep_for(std::chrono::milliseconds(noise.next() % 60));
        LiveRun other(pairOf(secondCard()), settings);
        if (noise.next() % 3 == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(noise.next() % kMaxMoment));
            one.signal(SIGKILL);
        }
        one.finish();
        other.finish();
    }
    for (const fs::path& place : {card(), secondCard()})
        LiveRun(pairOf(place), settings).finish();
    for (const Pt::ContentDigest& content : contents)
        EXPECT_TRUE(isKept(content)) << "a file of " << content.size << " bytes is lost";
    EXPECT_FALSE(fs::exists(target() / ".mfxdownload"));
}

void ConversionHunt::huntWithPairs(std::uint64_t seed, int rounds)
{
    for (int round = 0; round < rounds; ++round) {
        playPair(seed, round);
        if (HasFailure()) {
            std::cout << "seed " << seed << ", pair " << round << '\n';
            return;
        }
    }
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
