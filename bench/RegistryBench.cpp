// What the registry costs, over a store of 200 applications in 10 groups that lies in memory, so
// that the reading of a database is not part of it:
//
//   Build            a connector made and its lists built
//   UpdateUnchanged  updateCache(false) without a change
//   FixUpGroup       a name completed by the group of the one who asks
//   FixUpHighest     a name completed by the highest version, for somebody without a group
//   FixUpWhole       an address with a version
//
// Nothing runs but the one who asks. The aims are below 20 ms for Build, below 0.1 ms for
// UpdateUnchanged and below 1 ms for each FixUp.

#include "OwnFolder.h"
#include "core/registry/support/CapsTable.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "registry/PCDConnector.h"
#include "registry/SharedLib.h"

#include <string>

#include <benchmark/benchmark.h>

namespace {

using ScObjects::PCDConnector;
using ScObjects::TevoroTalk;
using ScObjects::TevoroTalkConnector;
using Specifier = TevoroTalk::Specifier;

constexpr int kNames = 50;
constexpr int kVersions = 4; // of each
constexpr int kApplications = kNames * kVersions;
constexpr int kGroups = 10;
constexpr const char* kLibrary = "../tests/core/registry/test_caps.framework";

std::string specifierOf(int name, int version)
{
    return "application" + std::to_string(name) + "-" + std::to_string(version) + ".0";
}

test::CapsTable::Keys keysOf(const std::string& specifier)
{
    return {{"Specifier", specifier},
        {"Path", "/usr/lib/suite/bin/" + specifier},
        {"DisplayName", "The application " + specifier},
        {"TevoroTalkVersion", "2.0"},
        {"MessageDigest", "true"},
        {"ExecutableBasename", specifier},
        {"OMVDictionary", "suite"}};
}

void fill(test::CapsTable& table)
{
    const std::string place = "/velmo/tevorotalk/";
    for (int name = 0; name < kNames; ++name)
        for (int version = 1; version <= kVersions; ++version)
            table.domains[1].emplace_back(
                place + specifierOf(name, version), keysOf(specifierOf(name, version)));
    test::CapsTable::Keys groups;
    // The entries of a generation stand together, as installers write them.
    for (int version = 1; version <= kVersions; ++version)
        for (int name = 0; name < kNames; ++name)
            groups.emplace_back("Group" + std::to_string(groups.size()),
                place + "groups/suite" + std::to_string(name * kGroups / kNames) + "/"
                    + std::to_string(version) + "/" + specifierOf(name, version));
    table.domains[1].emplace_back(place + "groups", groups);
}

// The bus of one who asks, with a folder of its own; all of it goes at the end.
class Bus {
public:
    explicit Bus(const char* name)
    {
        ScObjects::pcdLibName = kLibrary;
        fill(m_table);
        test::CapsTable::current() = &m_table;
        // Belongs to the bus, and goes with it.
        const auto* const instance = new TevoroTalk(name, nullptr, true, nullptr);
        m_isUp = instance->getAppName() == name
            && TevoroTalk::getNumberOfRegisteredApplications() == kApplications;
    }
    ~Bus() { TevoroTalk::InitTerm::exit(); }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    bool isUp() const { return m_isUp; }

private:
    const bench::OwnFolder m_folder{"registry-bench"};
    test::CapsTable m_table;
    bool m_isUp = false;
};

void build(benchmark::State& state)
{
    const Bus bus("application0-2.0");
    if (!bus.isUp())
        state.SkipWithError("no bus over the store");
    for (auto round : state) {
        static_cast<void>(round);
        const PCDConnector connector("bench-1.0", true, PCDConnector::kLodo);
        if (connector.getNumberOfRegisteredApplications() != kApplications)
            state.SkipWithError("applications are missing");
        test::CapsTable::current()->calls.clear();
    }
}

void updateUnchanged(benchmark::State& state)
{
    const Bus bus("application0-2.0");
    if (!bus.isUp())
        state.SkipWithError("no bus over the store");
    for (auto round : state) {
        static_cast<void>(round);
        if (TevoroTalk::updateConnectorCache(false))
            state.SkipWithError("a change");
        test::CapsTable::current()->calls.clear();
    }
}

void fixUp(benchmark::State& state, const char* asker, const char* text, const char* wanted)
{
    const Bus bus(asker);
    if (!bus.isUp())
        state.SkipWithError("no bus over the store");
    for (auto round : state) {
        static_cast<void>(round);
        if (Specifier(text, true) != wanted)
            state.SkipWithError("another one was found");
    }
}

BENCHMARK(build)->Name("Build")->Unit(benchmark::kMillisecond);
BENCHMARK(updateUnchanged)->Name("UpdateUnchanged")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fixUp, group, "application0-2.0", "application3", "application3-2.0")
    ->Name("FixUpGroup")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fixUp, highest, "stranger-1.0", "application3", "application3-4.0")
    ->Name("FixUpHighest")
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fixUp, whole, "application0-2.0", "application3-3.0", "application3-3.0")
    ->Name("FixUpWhole")
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
