// Reads the lines of one message from a text that it borrows; never past `end`, which need not be
// terminated. Fills the message's fields and headers; the body it only finds. One thread at a time,
// which holds the message's lock.
#pragma once

#include "messaging/Message.h"

#include <string_view>
#include <unordered_map>

namespace ScObjects::TevoroTalkData {

class WireReader {
public:
    WireReader(TevoroTalk::Message& message, const char* text, const char* end);

    void readHead();
    void passBody();
    // The body, valid as long as the text.
    std::string_view body() const { return m_body; }
    // Whether nothing follows the body.
    bool isAtEnd() const { return m_at == m_end; }
    // The digest that the text came with does not match it.
    bool hasWrongDigest() const;
    const char* skipLineFeeds();

private:
    std::string_view readUpTo(char mark);
    void takeLine(std::string_view name, std::string_view value);
    bool takeVersion(std::string_view name, std::string_view value);
    bool takeText(std::string_view name, std::string_view value);
    std::uint32_t* numberField(std::string_view name);
    bool takeNumber(std::string_view name, std::string_view value);
    bool takeDigest(std::string_view name, std::string_view value);
    void takeHeader(std::string_view name, std::string_view value);
    TevoroTalk::Header* findHeader(std::string_view name);
    bool hasIndex();
    void index(TevoroTalk::Header* header);

    TevoroTalk::Message& m_message;
    const char* m_at;
    const char* const m_end;
    const char* m_digestStart;
    std::string_view m_digest;
    std::string_view m_md5;
    std::string_view m_body;
    bool m_stripsPrefix = true;
    int m_headerCount = 0;
    // The headers by their names, from a number of them on; the names are those of the headers.
    std::unordered_map<std::string_view, TevoroTalk::Header*> m_index;
    bool m_canIndex = true;
};

// Versions before the mark for custom headers that are called like tags.
bool isUnmarkedVersion(std::string_view version);

} // namespace ScObjects::TevoroTalkData
