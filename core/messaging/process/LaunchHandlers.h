// The two handlers of a message to an application that is being started. Whichever is called first
// takes the other one away: the new process has received the message, or its time is over. They are
// handlers of one message each, on the main instance, and run on the thread that pumps.
#pragma once

#include "messaging/Message.h"
#include "messaging/MsgHandler.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ScObjects {

class InterAppStream;

class LaunchTimeoutMsgHandler final : public TevoroTalk::MsgHandler {
public:
    // With the name of a launch queue it holds the port that tells its application that parameters
    // wait, for as long as it lives. `pingKey` is removed from the store for pings at its end.
    LaunchTimeoutMsgHandler(
        const SoString& pingKey, std::uint32_t serialNumber, const SoString& queueName);
    ~LaunchTimeoutMsgHandler() override;
    LaunchTimeoutMsgHandler(const LaunchTimeoutMsgHandler&) = delete;
    LaunchTimeoutMsgHandler& operator=(const LaunchTimeoutMsgHandler&) = delete;

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
    std::uint32_t getSerialNumber() const override { return m_serialNumber; }

private:
    void removeKey() const;

    SoString m_pingKey;
    std::uint32_t m_serialNumber;
    std::unique_ptr<InterAppStream> m_flagStream; // null if none
};

class LaunchReceivedMsgHandler final : public TevoroTalk::MsgHandler {
public:
    explicit LaunchReceivedMsgHandler(std::uint32_t serialNumber);

    // Numbers of messages that need not be sent any more once this one has arrived.
    void addCompanion(std::uint32_t serialNumber) { m_companions.push_back(serialNumber); }

    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override;
    const char* getMsgType() const override;
    std::uint32_t getSerialNumber() const override { return m_serialNumber; }

private:
    std::uint32_t m_serialNumber;
    std::vector<std::uint32_t> m_companions;
};

} // namespace ScObjects
