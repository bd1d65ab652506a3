// What the library and its program say to each other. The library hands over one raw file at a
// time; the program answers that it is ready, that it goes on, and how it ended. Bytes that are not
// exactly such a message are none: the other side may be out of its mind. Plain functions.
#pragma once

#include "ZQPluginSupport/ZQPluginSupport.h"

#include <optional>
#include <string>
#include <string_view>

namespace dng {

// With the open files, in this order: the raw file, the new DNG, and those beside the raw file that
// are there.
struct WorkOrder {
    int preview = 0; // 0 none, 1 medium, 2 full
    bool isCompressed = false;
    bool isLinear = false;
    bool embedsRaw = false;
    bool hasSidecar = false;
    bool hasThumbnail = false;
    std::string name; // of the raw file

    friend bool operator==(const WorkOrder&, const WorkOrder&) = default;
};

struct WorkAnswer {
    enum class Kind : char { kReady = 'r', kGoesOn = 'g', kDone = 'd' };

    Kind kind = Kind::kGoesOn;
    ZQPluginResult result = kZQPluginDone; // of kDone

    friend bool operator==(const WorkAnswer&, const WorkAnswer&) = default;
};

std::string formatOrder(const WorkOrder& order);
std::optional<WorkOrder> parseOrder(std::string_view bytes);

std::string formatAnswer(const WorkAnswer& answer);
std::optional<WorkAnswer> parseAnswer(std::string_view bytes);

} // namespace dng
