#include "ZQPluginSupport/protocol/WorkMessages.h"

#include "ZQPluginSupport/original/OriginalRecord.h"

namespace dng {

namespace {

constexpr std::string_view kOrder = "convert:";
constexpr std::size_t kFlags = 6; // a digit each, behind which the name stands
constexpr std::string_view kAnswer = "answer:";

std::optional<int> digitIn(char letter, int most)
{
    const int digit = letter - '0';
    return digit >= 0 && digit <= most ? std::optional(digit) : std::nullopt;
}

char digitOf(int number)
{
    return static_cast<char>('0' + number);
}

} // namespace

std::string formatOrder(const WorkOrder& order)
{
    std::string bytes(kOrder);
    for (const int flag : {order.preview,
             int{order.isCompressed},
             int{order.isLinear},
             int{order.embedsRaw},
             int{order.hasSidecar},
             int{order.hasThumbnail}})
        bytes += digitOf(flag);
    return bytes + order.name;
}

std::optional<WorkOrder> parseOrder(std::string_view bytes)
{
    if (!bytes.starts_with(kOrder) || bytes.size() < kOrder.size() + kFlags)
        return std::nullopt;
    const std::string_view flags = bytes.substr(kOrder.size(), kFlags);
    const auto preview = digitIn(flags[0], 2);
    if (!preview || flags.substr(1).find_first_not_of("01") != std::string_view::npos)
        return std::nullopt;
    WorkOrder order{*preview,
        flags[1] == '1',
        flags[2] == '1',
        flags[3] == '1',
        flags[4] == '1',
        flags[5] == '1',
        std::string(bytes.substr(kOrder.size() + kFlags))};
    if (!isFileName(order.name))
        return std::nullopt;
    return order;
}

std::string formatAnswer(const WorkAnswer& answer)
{
    return std::string(kAnswer) + static_cast<char>(answer.kind)
        + static_cast<char>('A' + answer.result);
}

std::optional<WorkAnswer> parseAnswer(std::string_view bytes)
{
    if (!bytes.starts_with(kAnswer) || bytes.size() != kAnswer.size() + 2)
        return std::nullopt;
    const auto kind = static_cast<WorkAnswer::Kind>(bytes[kAnswer.size()]);
    const int result = bytes[kAnswer.size() + 1] - 'A';
    const bool isKnown = kind == WorkAnswer::Kind::kReady || kind == WorkAnswer::Kind::kGoesOn
        || kind == WorkAnswer::Kind::kDone;
    if (!isKnown || result < kZQPluginDone || result > kZQPluginBadRequest)
        return std::nullopt;
    return WorkAnswer{kind, static_cast<ZQPluginResult>(result)};
}

} // namespace dng
