// The number at the beginning of a version text. Any thread may call.
#pragma once

#include "messaging/SoString.h"
#include "platform/common/text/LeadingNumber.h"

namespace ScObjects::TevoroTalkData {

// 0 for a text that begins otherwise. "nan" is no number that any other equals, exceeds or falls
// short of: comparisons say what they take, not what they leave.
inline double versionNumber(const SoString& version)
{
    return Pt::leadingNumber(version);
}

} // namespace ScObjects::TevoroTalkData
