// Any bytes as an address, the first line, and a registry, the other lines: what was taken apart
// and built again is the same, and completion keeps to the name.

#include "core/messaging/support/TestRegistry.h"
#include "fuzz/Require.h"
#include "messaging/Specifier.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <stdlib.h>

using fuzz::require;
using ScObjects::SoString;
using Specifier = ScObjects::TevoroTalk::Specifier;

namespace {

std::vector<std::string> partsOf(const Specifier& specifier)
{
    std::vector<std::string> parts;
    for (const SoString& part : {specifier.appName(),
             specifier.instance(),
             specifier.version(),
             specifier.locale(),
             specifier.suffix()})
        parts.emplace_back(part.view());
    return parts;
}

std::vector<std::string> linesOf(std::string_view text)
{
    std::vector<std::string> lines(1);
    for (const char c : text)
        if (c == '\n')
            lines.emplace_back();
        else if (c != '\0')
            lines.back() += c;
    return lines;
}

void checkParts(const std::string& text)
{
    const Specifier read(text.c_str(), false);
    require(read.isEmpty() == (text.empty() || text.size() > 255));
    require(read.lowercase() == read);
    Specifier built(text.c_str(), false);
    require(built.setSuffix(read.suffix()));
    require(partsOf(built) == partsOf(read));
    require(built.length() <= read.length());
    const SoString version = read.version();
    require(version.isEmpty() || (version.get()[0] >= '0' && version.get()[0] <= '9'));
}

void checkCompletion(const std::string& text)
{
    const Specifier read(text.c_str(), false);
    for (const bool usePreferred : {false, true}) {
        Specifier whole(text.c_str(), false);
        whole.fixUp(usePreferred);
        require(whole.appName() == read.appName());
        require(whole.isEmpty() == read.isEmpty());
        if (!read.suffix().isEmpty())
            require(whole.view().ends_with("#" + std::string(read.suffix().view())));
    }
}

// A refused change is none.
void checkChanges(const std::string& text, const std::string& value)
{
    const Specifier read(text.c_str(), false);
    Specifier version(text.c_str(), false);
    Specifier locale(text.c_str(), false);
    require(version.setVersion(value.c_str()) || version == read);
    require(locale.setLocale(value.c_str()) || locale == read);
    require(version.appName() == read.appName() && locale.appName() == read.appName());
    Specifier group(text.c_str(), false);
    require(group.setGroup(value.c_str()) == !group.isEmpty());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A port that cannot be had: nobody runs.
    ::setenv("TEVOROTALK_PORT_DIR", "/dev/null", 1);
    ::setenv("LC_ALL", "en_US.UTF-8", 1);
    test::TestRegistry::install();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto* const registry = dynamic_cast<test::TestRegistry*>(ScObjects::TevoroTalkConnector::get());
    auto lines = linesOf({reinterpret_cast<const char*>(data), size});
    const std::string text = lines.front();
    lines.erase(lines.begin());
    if (lines.size() > 16) // each walk completes each entry
        lines.resize(16);
    registry->specifiers = lines;
    checkParts(text);
    checkCompletion(text);
    checkChanges(text, lines.empty() ? "" : lines.front());
    return 0;
}
