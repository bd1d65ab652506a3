// The number at the beginning of a version text. Any thread may call.
#pragma once

#include "messaging/SoString.h"
#include "platform/common/text/LeadingNumber.h"

namespace ScObjects::TevoroTalkData {

// 0 for a text that begins otherwise. The generation of a group may be "nan", which is neither
// above nor below any number.
inline double versionNumber(const SoString& version)
{
    return Pt::leadingNumber(version);
}

} // namespace ScObjects::TevoroTalkData
