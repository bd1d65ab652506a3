// A message of the bus: a few fixed fields, any number of custom headers, and a body of any bytes.
//
// Reads and writes the text form, which docs/wire-format.md describes line by line. Names cannot
// contain a colon, values cannot contain a line feed. A message must not be changed while another
// thread writes it; readFromString, setHeader and removeHeader take its lock.
#pragma once

#include "messaging/BusWords.h"
#include "messaging/TevoroTalk.h"

namespace ScObjects {

namespace TevoroTalkData {
class MessageQueue;
class WireReader;
} // namespace TevoroTalkData

// One custom header; owned by the list of its message.
class TEVOROTALK_API TevoroTalk::Header : public SoHeap {
public:
    Header(const char* headerName, const char* headerValue);

    Header* next = nullptr;
    SoString name;
    SoString value;
};

class TEVOROTALK_API TevoroTalk::Message : public SoLockable {
public:
    Message();
    // Reverses the order of custom headers; an empty type becomes "Quillscriber".
    Message(const Message& other);
    Message& operator=(const Message&) = delete;
    ~Message() override;

    const SoString& getVersion() const { return version; }

    // Replaces the value of an existing header in place, or adds a new one at the front. An empty
    // name is ignored.
    void setHeader(const char* name, const char* value);
    void setHeader(const char* name, long value);
    void setHeader(const char* name, unsigned long value);
    void removeHeader(const char* name);
    // Empty when there is none.
    SoString getUserHeaderValue(const char* name) const;

    // Whether the type is not one of those reserved for the bus.
    bool isUserType() const;
    static std::uint32_t getNextSerialNumber(TevoroTalkContext* context);

    // Appends the text form, preceded by its digest unless digests are off. False if target or
    // sender is empty, or for lack of memory; nothing is appended then.
    bool writeToString(SoString& out) const;
    // The same without the body, which follows immediately in the text form.
    bool writeHeadToString(SoString& out) const;
    // Reads one message. Returns the position after it and after the line feeds that follow. A
    // truncated text is read as far as it goes.
    const char* readFromString(const char* text);
    // The same for a text up to `end`, which may contain NULs.
    const char* readFromString(const char* text, const char* end);
    // The same for `text` from offset `place` to its end. A large body at the end of the text takes
    // over the text's buffer and leaves `text` empty. Returns the offset after the message.
    long readFrom(SoString& text, long place);
    // Whether there was memory for all of it, as it was read, copied or filled.
    bool isWhole() const;
    // Whether the digest was wrong or was not checked.
    bool isRejected() const;

    // Writes a description for the log; replaces `out`.
    bool logToString(const char* label, SoString& out, bool withBody) const;
    void appendDiagnostics(SoString& out, const SoString& path) const;

    // Process-wide settings.
    static void setAuthentication(bool on);
    static bool getAuthentication();
    static void setCreateDigest(bool on);
    static bool getCreateDigest();

    SoString target;
    SoString sender;
    std::int32_t timeout = 0; // seconds; 0 for none
    SoString type;
    SoString responseRequest; // words "Received", "Result", "Error", "Processed", "Timeout"
    std::int64_t timestamp; // seconds since 1970
    std::uint32_t contentLength = 0; // as read; writing uses the length of the body
    std::uint32_t serialNumber = 0; // 0 for not yet numbered
    std::uint32_t received = QK_INVALID_MESSAGE_NUMBER;
    std::uint32_t result = QK_INVALID_MESSAGE_NUMBER;
    std::uint32_t error = QK_INVALID_MESSAGE_NUMBER;
    Header* headers = nullptr;
    SoString body;
    SoString version;
    SoString digestStatus; // "NODIGEST", "REJECTED" or empty

private:
    friend class TevoroTalkData::MessageQueue;
    friend class TevoroTalkData::WireReader;

    Header* findHeader(std::string_view name) const;
    // Null if there was no memory.
    Header* addHeader(std::string_view name, std::string_view value);
    void deleteHeaders();
    void readWith(TevoroTalkData::WireReader& reader);
    void forgetFormerContent();
    void turnAnswerIntoType();

    bool m_lacksHeader = false; // there was no memory for one of them
    // What the queue that holds the message has noted of it; not copied.
    struct QueueNote {
        std::size_t bytes = 0;
        std::int64_t shift = 0; // of the clock when it came, see ClockWatch
    };
    QueueNote m_note;
};

} // namespace ScObjects
