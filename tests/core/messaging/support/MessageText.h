#pragma once

#include "messaging/Message.h"

#include <string>
#include <string_view>

namespace test {

// What a message holds, as words NAME=VALUE with a blank between: those fields that are not empty,
// 0 or the invalid number, then the custom headers in their order, then the body.
inline std::string described(const ScObjects::TevoroTalk::Message& message)
{
    std::string text;
    const auto field = [&text](std::string_view name, std::string_view value) {
        if (!value.empty())
            text.append(text.empty() ? "" : " ").append(name).append("=").append(value);
    };
    const auto number = [&field](std::string_view name, long long value, long long none) {
        if (value != none)
            field(name, std::to_string(value));
    };
    constexpr long long kInvalid = ScObjects::QK_INVALID_MESSAGE_NUMBER;
    field("version", message.version.view());
    field("target", message.target.view());
    field("sender", message.sender.view());
    number("timeout", message.timeout, 0);
    field("type", message.type.view());
    field("request", message.responseRequest.view());
    number("timestamp", message.timestamp, 0);
    number("serial", message.serialNumber, 0);
    number("received", message.received, kInvalid);
    number("result", message.result, kInvalid);
    number("error", message.error, kInvalid);
    for (const auto* header = message.headers; header != nullptr; header = header->next)
        field(header->name.get(), header->value.view().empty() ? "(empty)" : header->value.view());
    field("body", message.body.view());
    return text;
}

// The text of that line, or nothing; and the text without it.
inline std::string lineOf(const std::string& text, const std::string& name)
{
    const std::string start = "\n" + name + ":";
    const std::string all = "\n" + text;
    const std::size_t at = all.find(start);
    return at == std::string::npos ? "" : all.substr(at + 1, all.find('\n', at + 1) - at - 1);
}

inline std::string without(std::string text, const std::string& name)
{
    const std::string line = lineOf(text, name);
    if (!line.empty())
        text.erase(("\n" + text).find("\n" + line), line.size() + 1);
    return text;
}

} // namespace test
