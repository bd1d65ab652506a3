// make-card: writes a made card into a folder, for demonstrations and measurements.

#include "support/cards/CardMaker.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

#include <CLI/CLI.hpp>

namespace {

constexpr int kDone = 0;
constexpr int kWrongUsage = 2;
constexpr int kPlaceUnusable = 4;

struct CardRequest {
    std::string folder;
    std::size_t files = 0; // 0: one of everything
    std::size_t kilobytes = 160;
    std::uint64_t seed = 1;
};

void addOptions(CLI::App& app, CardRequest& request)
{
    app.add_option("FOLDER", request.folder, "Where the card is made; without a DCIM folder yet")
        ->required();
    app.add_option("-n,--files",
           request.files,
           "So many photos of one size, instead of one file of every kind")
        ->check(CLI::Range(1, 100'000));
    app.add_option("-k,--size", request.kilobytes, "About so many kilobytes a file")
        ->check(CLI::Range(20, 2'000'000))
        ->capture_default_str();
    app.add_option("-s,--seed", request.seed, "Another number gives other pictures")
        ->capture_default_str();
    app.footer("Exit codes: 0 done; 2 wrong usage; 4 the folder cannot be used.");
}

int makeCard(const CardRequest& request)
{
    try {
        if (std::filesystem::exists(std::filesystem::path(request.folder) / "DCIM"))
            throw tests::CardError(
                request.folder + " holds a card already: remove its DCIM folder");
        const tests::CardMaker maker(request.folder, request.kilobytes * 1024, request.seed);
        if (request.files != 0)
            maker.addMany(request.files);
        else
            maker.addOneOfEverything();
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "make-card: %s\n", error.what()));
        return kPlaceUnusable;
    }
    return kDone;
}

} // namespace

int main(int argc, char** argv)
{
    CardRequest request;
    CLI::App app(
        "Makes a camera's card with real photos, the same for the same seed.", "make-card");
    addOptions(app, request);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    return makeCard(request);
}
