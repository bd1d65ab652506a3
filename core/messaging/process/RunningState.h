// Whether an application runs, for those who cannot wait long for a port that is full.
#pragma once

#include "messaging/Specifier.h"

#include <chrono>

namespace ScObjects::TevoroTalkData {

// Like Specifier::isRunning(), with that patience for each of its tests.
bool isRunningWithin(std::chrono::milliseconds patience, const TevoroTalk::Specifier& specifier);

} // namespace ScObjects::TevoroTalkData
