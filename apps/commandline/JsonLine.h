// One JSON object on one line of standard output, keys in the order given.
#pragma once

#include "commandline/Output.h"
#include "platform/common/text/NameText.h"

#include <nlohmann/json.hpp>

namespace commandline {

using Json = nlohmann::ordered_json;

inline void printJson(const Json& object)
{
    // Names come in as UTF-8; a stray byte of a system's message must not cost the line.
    printLine(object.dump(-1, ' ', false, Json::error_handler_t::replace));
    outputError(); // written now: a reader follows along
}

} // namespace commandline
