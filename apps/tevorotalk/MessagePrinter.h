// A message on standard output: a line for people, or an object.
#pragma once

#include "messaging/Message.h"

namespace tevorotalk {

// "SENDER TYPE #SERIAL: BODY", or with `json`
// {"target":…,"sender":…,"type":…,"reason":N,"serial":N,"timeout":N,"request":…,"headers":{…},"body":…}.
// The type is the one that the message had on the bus. Flushes.
void printMessage(const ScObjects::TevoroTalk::Message& message, int reason, bool json);

// A text as JSON carries it: a byte that is not UTF-8 stands as %XX.
std::string jsonText(const ScObjects::SoString& text);

} // namespace tevorotalk
