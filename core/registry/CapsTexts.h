// Lists of the configuration store, as copies: further calls of its library may end what it gave.
#pragma once

#include "messaging/SoString.h"
#include "registry/PCDFunctions.h"

#include <vector>

namespace ScObjects {

// No list is an empty one.
inline std::vector<SoString> capsTexts(capsList list)
{
    std::vector<SoString> texts;
    for (; list != nullptr && *list != nullptr; ++list)
        texts.emplace_back(*list);
    return texts;
}

} // namespace ScObjects
