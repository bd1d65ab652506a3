// Writes lines of the diagnostics tree: PATH;FLAG;LABEL;VALUE; and a line feed. Any thread may
// call.
#pragma once

#include "messaging/SoString.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace ScObjects::TevoroTalkData {

inline const char* onOrOff(bool on)
{
    return on ? "ON" : "OFF";
}

// As a field of a line can have it: whatever would end the line, or change the terminal that shows
// it, becomes a question mark. Names come from stores and other processes, too.
inline void appendField(SoString& out, std::string_view text, bool endsAtMark)
{
    std::string field(text);
    std::ranges::replace_if(
        field,
        [&](char c) {
            const auto byte = static_cast<unsigned char>(c);
            return byte < 0x20 || byte == 0x7f || (endsAtMark && c == ';');
        },
        '?');
    out << field.c_str();
}

// Doubles the room when it runs out: texts grow by small blocks otherwise, and the tree of ten
// thousand applications would be copied for each of its lines.
inline void makeRoomFor(SoString& out, long added)
{
    if (out.capacity() <= out.length() + added)
        out.reserve(2 * (out.length() + added));
}

// The flag is "1" for a node with children, else "0". A ";" in the value ends it for the reader, as
// that has always been; in the path and the label it would forge fields.
inline void appendLine(SoString& out,
    const SoString& path,
    const char* child,
    const char* flag,
    const SoString& label,
    const SoString& value)
{
    constexpr long kMarks = 8; // separators, flag and line feed
    const std::string_view below(child);
    makeRoomFor(out,
        path.length() + static_cast<long>(below.size()) + label.length() + value.length() + kMarks);
    appendField(out, path.view(), true);
    appendField(out, below, true);
    out << ";" << flag << ";";
    appendField(out, label.view(), true);
    out << ";";
    appendField(out, value.view(), false);
    out << ";\n";
}

inline void appendLeaf(SoString& out,
    const SoString& path,
    const char* child,
    const char* label,
    const SoString& value)
{
    appendLine(out, path, child, "0", label, value);
}

inline void appendLeafUnlessEmpty(SoString& out,
    const SoString& path,
    const char* child,
    const char* label,
    const SoString& value)
{
    if (!value.isEmpty())
        appendLeaf(out, path, child, label, value);
}

// Numbers have no sign here.
template <typename Number>
SoString textOf(Number number)
{
    SoString text;
    text << number;
    return text;
}

} // namespace ScObjects::TevoroTalkData
