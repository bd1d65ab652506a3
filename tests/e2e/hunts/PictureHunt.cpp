#include "e2e/hunts/PictureHunt.h"

#include "e2e/hunts/PictureHuntRound.h"

#include <cstdlib>
#include <iostream>

#include <gtest/gtest.h>

namespace e2e::hunt {

namespace {

std::uint64_t chosen(const char* variable, std::uint64_t otherwise)
{
    const char* const value = std::getenv(variable);
    return value ? std::strtoull(value, nullptr, 10) : otherwise;
}

// A run-time tree of its own, with a library for conversions, which the stage does not have.
class ConvertingTree {
public:
    ConvertingTree();

    fs::path program() const { return m_home / "bin/mfx"; }

private:
    const test::TestFolder m_folder;
    const fs::path m_home{fs::canonical(m_folder.path())};
};

ConvertingTree::ConvertingTree()
{
    const fs::path stage = fs::path(MFX_PROGRAM).parent_path().parent_path();
    const fs::path library = m_home / "Frameworks/ZQPluginSupport.framework";
    fs::create_directories(m_home / "bin");
    fs::create_directories(library);
    for (const char* folder :
        {"plugins", "Frameworks/preference_xml_parser.framework", "shared_assets"})
        fs::create_directory_symlink(stage / folder, m_home / folder);
    fs::copy_file(CONVERSION_LIBRARY, library / "ZQPluginSupport.so");
    fs::copy_file(MFX_PROGRAM, program());
}

void print(const Figures& figures)
{
    for (const auto& [name, count] : figures)
        std::cout << "  " << name << ": " << count << '\n';
}

void playOne(std::uint64_t seed, std::uint64_t number, Figures& figures, const ConvertingTree& tree)
{
    try {
        Round round(seed, number, figures, tree.program());
        if (!round.play().empty()) {
            ADD_FAILURE() << round.story();
        } else if (std::getenv("HUNT_ROUND"))
            std::cout << round.story();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "HUNT_SEED=" << seed << " HUNT_ROUND=" << number << ": " << error.what();
    }
}

} // namespace

void hunt(std::uint64_t seed, std::uint64_t rounds)
{
    if (!test::canMount()) {
        GTEST_SKIP() << "mounting takes root, in no container that forbids it";
    }
    seed = chosen("HUNT_SEED", seed);
    const std::uint64_t alone = chosen("HUNT_ROUND", 0);
    const std::uint64_t first = alone != 0 ? alone : chosen("HUNT_FIRST", 1);
    const std::uint64_t end = alone != 0 ? alone + 1 : first + chosen("HUNT_ROUNDS", rounds);
    const ConvertingTree tree;
    Figures figures;
    for (std::uint64_t number = first; number < end; ++number)
        playOne(seed, number, figures, tree);
    std::cout << "The hunt with seed " << seed << ":\n";
    print(figures);
}

} // namespace e2e::hunt
