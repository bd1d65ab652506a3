// What a download is asked for. Filled by one of the engine's front ends.
#pragma once

#include "mfx/engine/names/TargetName.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace mfx {

struct DownloadRequest {
    std::string sourceName; // for people
    std::string target; // absolute
    NamingRules rules;
    std::uint64_t firstSequence = 1; // where {seq} begins, or behind the last number in the target
    bool beginsAtFirst = false; // whatever numbers the target has
    std::optional<std::string> backupFolder; // absolute; where the sink makes its copies
    bool convertsToDNG = false; // the sink will
    bool wantsDNG = false; // the user does, whether or not the sink can
    bool deletesOriginals = false;
    bool opensBrowser = false; // the sink will, where it finds it
    bool dryRun = false;
    std::function<bool()> wasInterrupted; // looked at often, from several threads
};

} // namespace mfx
