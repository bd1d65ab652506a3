#pragma once

#include "core/messaging/support/MessagingFixture.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

// What handlers were given, in order. Handlers die with their instances, some before this and some
// behind it. Any thread.
class Inbox {
public:
    Inbox() = default;
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    struct Entry {
        int reason;
        std::uint32_t serialNumber;
        std::string type;
        std::string sender;
        std::string target;
        std::string body;
        std::string errorCode;
        std::uint32_t received;
        std::uint32_t result;
        std::uint32_t error;
    };

    void add(int reason, const ScObjects::TevoroTalk::Message& message)
    {
        const std::lock_guard lock(m_lock);
        m_entries.push_back({reason,
            message.serialNumber,
            bytes(message.type),
            bytes(message.sender),
            bytes(message.target),
            bytes(message.body),
            bytes(message.getUserHeaderValue(ScObjects::TevoroTalkData::QK_ERROR_CODE)),
            message.received,
            message.result,
            message.error});
    }

    std::size_t size() const
    {
        const std::lock_guard lock(m_lock);
        return m_entries.size();
    }
    std::vector<Entry> entries() const
    {
        const std::lock_guard lock(m_lock);
        return m_entries;
    }
    Entry at(std::size_t index) const
    {
        const std::lock_guard lock(m_lock);
        return m_entries.at(index);
    }
    void clear()
    {
        const std::lock_guard lock(m_lock);
        m_entries.clear();
    }

    // "REASON TYPE" and, where there is one, the body of each.
    std::vector<std::string> words() const
    {
        std::vector<std::string> result;
        for (const Entry& entry : entries())
            result.push_back(std::to_string(entry.reason) + " " + entry.type
                + (entry.body.empty() ? "" : " " + entry.body));
        return result;
    }
    std::vector<std::string> bodies() const
    {
        std::vector<std::string> result;
        for (const Entry& entry : entries())
            result.push_back(entry.body);
        return result;
    }
    std::vector<int> reasons() const
    {
        std::vector<int> result;
        for (const Entry& entry : entries())
            result.push_back(entry.reason);
        return result;
    }

    const std::shared_ptr<std::atomic<int>> counter = std::make_shared<std::atomic<int>>(0);
    std::atomic<int>& handlers = *counter; // that are alive

private:
    mutable std::mutex m_lock;
    std::vector<Entry> m_entries;
};

// Notes what it gets, and answers as it is told.
class InboxHandler final : public ScObjects::TevoroTalk::MsgHandler {
public:
    using Message = ScObjects::TevoroTalk::Message;

    explicit InboxHandler(Inbox& inbox,
        std::string type = "Quillscriber",
        std::uint32_t number = ScObjects::QK_INVALID_MESSAGE_NUMBER)
        : m_inbox(inbox)
        , m_alive(inbox.counter)
        , m_type(std::move(type))
        , m_number(number)
    {
        ++*m_alive;
    }
    ~InboxHandler() override { --*m_alive; }
    InboxHandler(const InboxHandler&) = delete;
    InboxHandler& operator=(const InboxHandler&) = delete;

    void initialize(ScObjects::TevoroTalk* instance) override { initializedWith = instance; }
    long handleMessage(int reason, Message& message, ScObjects::SoString* result) override
    {
        m_inbox.add(reason, message);
        if (throws)
            throw std::runtime_error("a handler that throws");
        if (result != nullptr)
            *result = answer.c_str();
        return code;
    }
    const char* getMsgType() const override { return m_type.c_str(); }
    std::uint32_t getSerialNumber() const override { return m_number; }

    long code = 0;
    std::string answer;
    bool throws = false;
    ScObjects::TevoroTalk* initializedWith = nullptr;

private:
    Inbox& m_inbox;
    const std::shared_ptr<std::atomic<int>> m_alive; // an inbox of a test's own ends with the test
    std::string m_type;
    std::uint32_t m_number;
};

} // namespace test
