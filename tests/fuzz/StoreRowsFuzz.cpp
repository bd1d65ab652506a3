// Any bytes as rows of the configuration store, one a line: subdomain, key and value, with tabs
// between. A line that begins with "!" is a call of the store that fails. What becomes of them is a
// registry that answers.

#include "core/registry/support/CapsTable.h"
#include "fuzz/Require.h"
#include "messaging/Specifier.h"
#include "registry/PCDConnector.h"
#include "registry/SharedLib.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include <stdlib.h>

using fuzz::require;
using ScObjects::PCDConnector;
using ScObjects::SoString;
using ScObjects::TevoroTalkConnector;
using Specifier = ScObjects::TevoroTalk::Specifier;

namespace {

constexpr long kMaxRows = 32; // each walk completes each of them

std::string upTo(std::string_view& rest, char end)
{
    const std::string_view part = rest.substr(0, rest.find(end));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    std::string text(part);
    std::erase(text, '\0');
    return text;
}

void addRow(test::CapsTable& table, std::string_view row)
{
    auto& subdomains = table.domains[1];
    const std::string name = upTo(row, '\t');
    const std::string key = upTo(row, '\t');
    const auto found = std::find_if(subdomains.begin(),
        subdomains.end(),
        [&](const auto& subdomain) { return subdomain.first == name; });
    auto& keys = found != subdomains.end()
        ? found->second
        : subdomains.emplace_back(name, test::CapsTable::Keys()).second;
    keys.emplace_back(key, upTo(row, '\n'));
}

void fill(test::CapsTable& table, std::string_view text)
{
    for (long i = 0; i < kMaxRows && !text.empty(); ++i) {
        const std::string row = upTo(text, '\n');
        if (row.starts_with('!'))
            table.failures[row.substr(1)] = 5;
        else
            addRow(table, row);
    }
}

void askAll(TevoroTalkConnector& connector)
{
    const int count = connector.getNumberOfRegisteredApplications();
    for (int i = 0; i < count; ++i) {
        const SoString specifier = connector.getApplicationSpecifier(i);
        require(!specifier.isEmpty());
        Specifier whole(specifier, true);
        require(whole.isEmpty() == Specifier(specifier, false).isEmpty());
        const Specifier plain(specifier, false);
        connector.findGroupForSpecifier(plain, nullptr);
        connector.findPreferredApp(specifier, plain.appName(), "nx");
        connector.findSpecifierInGroup(plain.appName(), "nx", "3");
        connector.getDisplayName(plain.appName(), plain.version(), plain.locale());
        require(connector.getConnectorConfig(specifier).view().ends_with("</Configuration>\n")
            || specifier == "groups");
    }
    require(connector.getConnectorConfig("groups").view().ends_with("</Configuration>\n"));
    require(connector.isEqual(connector));
    require(!connector.updateCache(false));
    connector.clearCache();
    require(connector.getNumberOfRegisteredApplications() == count);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A port that cannot be had: nobody runs.
    ::setenv("TEVOROTALK_PORT_DIR", "/dev/null", 1);
    ::setenv("LC_ALL", "en_US.UTF-8", 1);
    ScObjects::pcdLibName = "../core/registry/test_caps.framework";
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    test::CapsTable table;
    test::CapsTable::current() = &table;
    // The store is empty and opens: what fails, fails while it is read.
    TevoroTalkConnector::InitTerm::init("self-1.0");
    TevoroTalkConnector* const connector = TevoroTalkConnector::get();
    require(connector != nullptr);
    fill(table, {reinterpret_cast<const char*>(data), size});
    connector->clearCache();
    if (connector->isGood())
        askAll(*connector);
    TevoroTalkConnector::InitTerm::exit();
    return 0;
}
