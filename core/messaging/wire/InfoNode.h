// Writes lines of the diagnostics tree: PATH;FLAG;LABEL;VALUE; and a line feed. Any thread may
// call.
#pragma once

#include "messaging/SoString.h"

namespace ScObjects::TevoroTalkData {

inline const char* onOrOff(bool on)
{
    return on ? "ON" : "OFF";
}

// The flag is "1" for a node with children, else "0".
inline void appendLine(SoString& out,
    const SoString& path,
    const char* child,
    const char* flag,
    const SoString& label,
    const SoString& value)
{
    out << path << child << ";" << flag << ";" << label << ";" << value << ";\n";
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
