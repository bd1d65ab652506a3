// A message of the bus: a few fixed fields, any number of custom headers, and a body of any bytes.
//
// Its text form is written and read here; docs/wire-format.md tells it line by line. Names with a
// colon and values with a line feed cannot be carried. A message must not be changed while another
// thread writes it; readFromString, setHeader and removeHeader take its lock.
#pragma once

#include "messaging/BusWords.h"
#include "messaging/TevoroTalk.h"

namespace ScObjects {

namespace TevoroTalkData {
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
    // Custom headers come out in reverse order; an empty type becomes "Quillscriber".
    Message(const Message& other);
    Message& operator=(const Message&) = delete;
    ~Message() override;

    const SoString& getVersion() const { return version; }

    // A header of that name keeps its place, a new one goes to the front. Nothing for an empty
    // name.
    void setHeader(const char* name, const char* value);
    void setHeader(const char* name, long value);
    void setHeader(const char* name, unsigned long value);
    void removeHeader(const char* name);
    // Empty when there is none.
    SoString getUserHeaderValue(const char* name) const;

    // Whether the type is none of those that the bus keeps for itself.
    bool isUserType() const;
    static std::uint32_t getNextSerialNumber(TevoroTalkContext* context);

    // Appends the text form, with its digest in front unless digests are off. False, and nothing
    // appended, when target or sender is empty.
    bool writeToString(SoString& out) const;
    // The same without the body, which follows right behind.
    bool writeHeadToString(SoString& out) const;
    // Reads one message and gives the first byte behind it and the line feeds that follow. Reads as
    // far as the text goes: a text that ends early gives what was there.
    const char* readFromString(const char* text);
    // The same of a text that may hold NULs, which end at `end`.
    const char* readFromString(const char* text, const char* end);
    // The same of all of `text` from that place on. A large body that ends with the text takes over
    // the text's buffer, and leaves `text` empty; the result is the place behind the message.
    long readFrom(SoString& text, long place);
    // Whether the digest was wrong, or was not looked at.
    bool isRejected() const;

    // A description for the log; replaces `out`.
    bool logToString(const char* label, SoString& out, bool withBody) const;
    void appendDiagnostics(SoString& out, const SoString& path) const;

    // For all messages of the process.
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
    std::uint32_t contentLength = 0; // as read; writing goes by the body
    std::uint32_t serialNumber = 0; // 0 for not yet numbered
    std::uint32_t received = QK_INVALID_MESSAGE_NUMBER;
    std::uint32_t result = QK_INVALID_MESSAGE_NUMBER;
    std::uint32_t error = QK_INVALID_MESSAGE_NUMBER;
    Header* headers = nullptr;
    SoString body;
    SoString version;
    SoString digestStatus; // "NODIGEST", "REJECTED" or empty

private:
    Header* findHeader(const char* name) const;
    void addHeader(const char* name, const char* value);
    void deleteHeaders();
    void readWith(TevoroTalkData::WireReader& reader);
    void forgetFormerContent();
    void turnAnswerIntoType();
};

} // namespace ScObjects
