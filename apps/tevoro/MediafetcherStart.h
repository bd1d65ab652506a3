// Starts mfx for a script that asks for it.
#pragma once

#include <QString>

namespace tevoro {

// The program beside this one, in a session of its own. False if it does not start; `error` then
// says why.
bool startMediafetcher(QString& error);

} // namespace tevoro
