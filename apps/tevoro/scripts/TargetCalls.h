// What a script may ask of the browser, by name. The names and the kinds of their arguments are the
// whole of what the program that runs scripts can reach; the rules for folders and texts are held
// here again, for a program that does not hold them.
#pragma once

#include "tevoro/scripts/ChildLine.h"

#include <QJsonObject>

#include <optional>

namespace tevoro {

class ScriptTarget;

// Longer ones are refused.
inline constexpr int kMaxFolder = 4095; // bytes
inline constexpr int kMaxStatus = 10'000; // units

// Makes the call; its answer is {"value": ...} or {"error": TEXT}, which is an exception in the
// script. Nothing for a call that no script makes.
std::optional<QJsonObject> makeCall(const ChildCall& call, ScriptTarget& target);

} // namespace tevoro
