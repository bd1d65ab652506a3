#include "messaging/TevoroTalkUtils.h"

#include <cstring>
#include <optional>

namespace ScObjects::TevoroTalkUtils {

namespace {

constexpr char kFieldEnd = ';';

// Takes a closed field off the front of a line; nothing when no ";" closes it.
std::optional<std::string_view> takeField(std::string_view& line)
{
    const std::size_t end = line.find(kFieldEnd);
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view field = line.substr(0, end);
    line.remove_prefix(end + 1);
    return field;
}

} // namespace

const char* parseInfoLine(
    const char* text, SoString& path, SoString& label, SoString& value, bool& hasChildren)
{
    // The outputs are empty, or read in part, if the line turns out to be none.
    path.shrink(0);
    label.shrink(0);
    value.shrink(0);
    std::string_view line(text, std::strcspn(text, "\n"));
    const char* const end = text + line.size();

    const auto first = takeField(line);
    if (!first || first->empty())
        return nullptr;
    path.assign(*first);
    const auto flag = takeField(line);
    // A missing field is neither.
    if (flag != "0" && flag != "1")
        return nullptr;
    hasChildren = flag == "1";
    const auto third = takeField(line);
    if (!third || third->empty())
        return nullptr;
    label.assign(*third);
    // What closes the value may be missing, and what follows it does not count.
    value.assign(line.substr(0, line.find(kFieldEnd)));
    return *end == '\n' ? end + 1 : end;
}

} // namespace ScObjects::TevoroTalkUtils
