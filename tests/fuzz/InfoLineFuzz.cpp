// Any bytes as lines of the diagnostics tree: a line that is one is well made, and is read again as
// the same from its parts.

#include "fuzz/Require.h"
#include "messaging/TevoroTalkUtils.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using fuzz::require;
using ScObjects::SoString;
using ScObjects::TevoroTalkUtils::parseInfoLine;

namespace {

struct Line {
    SoString path;
    SoString label;
    SoString value;
    bool hasChildren = false;

    const char* read(const char* text)
    {
        return parseInfoLine(text, path, label, value, hasChildren);
    }
    std::string written() const
    {
        SoString text;
        text << path << ';' << (hasChildren ? '1' : '0') << ';' << label << ';' << value << ";\n";
        return std::string(text.view());
    }
};

void checkField(const SoString& field, bool mayBeEmpty)
{
    require(mayBeEmpty || !field.isEmpty());
    require(field.view().find_first_of(";\n") == std::string_view::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    const char* const end = text.c_str() + std::string_view(text.c_str()).size();
    Line line;
    const char* at = text.c_str();
    while (const char* const next = line.read(at)) {
        require(next > at && next <= end && (next == end || next[-1] == '\n'));
        checkField(line.path, false);
        checkField(line.label, false);
        checkField(line.value, true);
        Line again;
        const std::string written = line.written();
        require(again.read(written.c_str()) == written.c_str() + written.size());
        require(again.written() == written);
        require(std::string_view(at).starts_with(written.substr(0, written.size() - 2)));
        at = next;
    }
    return 0;
}
