// The words of the bus: header names, message types, commands and replies of pings. They are part
// of the wire format and of the diagnostics.
#pragma once

#include <cstdint>

namespace ScObjects {

// No number. As the number of a handler or of a search: any number.
inline constexpr std::uint32_t QK_INVALID_MESSAGE_NUMBER = 0xFFFFFFFF;

namespace TevoroTalkData {

// Header lines
inline constexpr const char* QK_MD5 = "@QK>MD5";
inline constexpr const char* QK_DIGEST = "@QK>Digest";
inline constexpr const char* QK_VERSION = "@QK>Version";
inline constexpr const char* QK_ERROR_CODE = "Error-Code";
inline constexpr const char* QK_ERROR = "Error";
inline constexpr const char* QK_RESULT = "Result";
inline constexpr const char* QK_RECEIVED = "Received";
inline constexpr const char* QK_SERIAL_NUMBER = "Serial-Number";
inline constexpr const char* QK_CONTENT_LENGTH = "Content-Length";
inline constexpr const char* QK_TIMESTAMP = "Timestamp";
inline constexpr const char* QK_RESPONSE_REQUEST = "Response-Request";
inline constexpr const char* QK_TYPE = "Type";
inline constexpr const char* QK_TIMEOUT = "Timeout";
inline constexpr const char* QK_TARGET = "Target";
inline constexpr const char* QK_SENDER_ID = "Sender-ID";
inline constexpr const char* QK_SENDER = "Sender";
inline constexpr const char* kHeaderPrefix = "@HDR>";
inline constexpr const char* kQKPrefix = "@QK>";
inline constexpr const char* kMessageVersion = "2.05";

// Custom headers that the bus itself reads or writes
inline constexpr const char* kTimeoutDetector = "TIMEOUT_DETECTOR";
inline constexpr const char* kQueueStamp = "QUEUESTAMP";
inline constexpr const char* kMsgRoot = "MsgRoot";
inline constexpr const char* kCommand = "Command";

// Message types of the bus; those of the answers are the names of their header lines
inline constexpr const char* kQuillscriber = "Quillscriber";
inline constexpr const char* kDebug = "Debug";
inline constexpr const char* kReceive = "Receive";
inline constexpr const char* kIdleType = "Idle";
inline constexpr const char* kLog = "Log";
inline constexpr const char* kIgnore = "Ignore";
inline constexpr const char* kProcessed = "Processed";
inline constexpr const char* kLaunchedType = "Launched";

// The prefix of all port names; the name on the bus follows.
inline constexpr const char* kPortPrefix = R"(\\.\port\Ned_and_Olaf_)";

// The version of the bus; messages have a version of their own.
inline constexpr const char* kVersion = "2.0";
inline constexpr const char* kBuild = "3.92.104";

// Default lifetime of a queued message, in seconds.
inline constexpr std::int32_t kQueueLifetime = 600;

} // namespace TevoroTalkData
} // namespace ScObjects
