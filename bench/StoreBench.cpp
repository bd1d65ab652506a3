// What the configuration store costs those who ask it, over its fifteen functions, in the working
// folder:
//
//   LastModTime          pcdGetLastModTime without a change, with a user's and a machine's place
//   Walk/N               a session opened, N applications of five keys each read as the bus reads
//                        them, and closed; nothing has changed since the last walk
//   WalkAfterChange/N    the same after one write, which is not counted
//
// Goals: below 0.05 ms, below 20 ms for 200 applications, below a second for 10,000.

#include "TemporaryFolder.h"
#include "velmo_caps/StoreWriter.h"
#include "velmo_caps/VelmoCaps.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <stdlib.h>

using namespace velmo_caps;

namespace {

constexpr capsDomain kDomain = 1;

// A user's store with so many applications, in a new folder that goes with it.
class BenchStore {
public:
    explicit BenchStore(std::int64_t applications)
        : m_folder("store-bench", std::filesystem::current_path())
    {
        const std::string& folder = m_folder.path();
        ::setenv("MFX_APPLICATION_DATA", folder.c_str(), 1);
        ::setenv("XDG_DATA_DIRS", (folder + "/a:" + folder + "/b").c_str(), 1);
        StoreWriter writer(userStore());
        StoreWriter::Change change(writer);
        for (std::int64_t number = 0; number < applications; ++number)
            for (const char* const key :
                {"Specifier", "Path", "DisplayName", "WindowClassName", "OMVDictionary"})
                change.set({Face::kPcd,
                               kDomain,
                               "/velmo/tevorotalk/app" + std::to_string(number) + "-1.0"},
                    key,
                    "a value of the usual length");
        change.commit();
    }

    static void write()
    {
        StoreWriter writer(userStore());
        StoreWriter::Change change(writer);
        change.set({Face::kPcd, kDomain, "/velmo/tevorotalk/app0-1.0"}, "Path", "/another");
        change.commit();
    }

private:
    bench::TemporaryFolder m_folder;
};

// The values that there are.
std::int64_t walk()
{
    capsiSession session = nullptr;
    const char** subdomains = nullptr;
    std::int64_t values = 0;
    if (pcdOpenSessionNoCreate(&session) != kCapsSuccess
        || pcdGetDomainDataSubdomains(session, kDomain, &subdomains) != kCapsSuccess)
        std::abort();
    for (; *subdomains != nullptr; ++subdomains) {
        const char** keys = nullptr;
        pcdGetDomainDataKeys(session, kDomain, *subdomains, &keys);
        for (; *keys != nullptr; ++keys) {
            const char* value = nullptr;
            pcdGetDomainData(session, kDomain, *subdomains, *keys, &value);
            values += value != nullptr ? 1 : 0;
        }
    }
    pcdCloseSession(session);
    return values;
}

void lastModTime(benchmark::State& state)
{
    const BenchStore store(state.range(0));
    std::uint32_t time = 0;
    for (auto _ : state)
        if (pcdGetLastModTime(&time) != kCapsSuccess)
            state.SkipWithError("no time");
}

void walkAll(benchmark::State& state)
{
    const BenchStore store(state.range(0));
    for (auto _ : state)
        if (walk() != state.range(0) * 5)
            state.SkipWithError("values are missing");
}

void walkAfterChange(benchmark::State& state)
{
    const BenchStore store(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        BenchStore::write();
        state.ResumeTiming();
        if (walk() != state.range(0) * 5)
            state.SkipWithError("values are missing");
    }
}

} // namespace

BENCHMARK(lastModTime)->Name("LastModTime")->Arg(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(walkAll)->Name("Walk")->Arg(200)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(walkAfterChange)
    ->Name("WalkAfterChange")
    ->Arg(200)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
