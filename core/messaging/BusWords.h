// The words of the bus: header names, message types, commands and replies of pings. They go over
// the wire and into the diagnostics as they stand here.
#pragma once

#include <cstdint>

namespace ScObjects {

// No such number; as a handler's or a search's number, any.
inline constexpr std::uint32_t QK_INVALID_MESSAGE_NUMBER = 0xFFFFFFFF;

namespace TevoroTalkData {

// Header lines
inline constexpr char const* QK_MD5 = "@QK>MD5";
inline constexpr char const* QK_DIGEST = "@QK>Digest";
inline constexpr char const* QK_VERSION = "@QK>Version";
inline constexpr char const* QK_ERROR_CODE = "Error-Code";
inline constexpr char const* QK_ERROR = "Error";
inline constexpr char const* QK_RESULT = "Result";
inline constexpr char const* QK_RECEIVED = "Received";
inline constexpr char const* QK_SERIAL_NUMBER = "Serial-Number";
inline constexpr char const* QK_CONTENT_LENGTH = "Content-Length";
inline constexpr char const* QK_TIMESTAMP = "Timestamp";
inline constexpr char const* QK_RESPONSE_REQUEST = "Response-Request";
inline constexpr char const* QK_TYPE = "Type";
inline constexpr char const* QK_TIMEOUT = "Timeout";
inline constexpr char const* QK_TARGET = "Target";
inline constexpr char const* QK_SENDER_ID = "Sender-ID";
inline constexpr char const* QK_SENDER = "Sender";
inline constexpr char const* kHeaderPrefix = "@HDR>";
inline constexpr char const* kQKPrefix = "@QK>";
inline constexpr char const* kMessageVersion = "2.05";

// Custom headers that the bus itself reads or writes
inline constexpr char const* kTimeoutDetector = "TIMEOUT_DETECTOR";
inline constexpr char const* kQueueStamp = "QUEUESTAMP";
inline constexpr char const* kMsgRoot = "MsgRoot";
inline constexpr char const* kCommand = "Command";

// Message types of the bus beside the answers, which are called as their header lines
inline constexpr char const* kQuillscriber = "Quillscriber";
inline constexpr char const* kDebug = "Debug";
inline constexpr char const* kReceive = "Receive";
inline constexpr char const* kIdleType = "Idle";
inline constexpr char const* kLog = "Log";
inline constexpr char const* kIgnore = "Ignore";
inline constexpr char const* kProcessed = "Processed";
inline constexpr char const* kLaunchedType = "Launched";

// The version of the bus, which the version of a message is not.
inline constexpr char const* kVersion = "2.0";
inline constexpr char const* kBuild = "3.92.104";

// A queued message lives that long unless it says otherwise, in seconds.
inline constexpr std::int32_t kQueueLifetime = 600;

} // namespace TevoroTalkData
} // namespace ScObjects
