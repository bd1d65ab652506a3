#pragma once

#include "core/messaging/support/Inbox.h"
#include "core/messaging/support/MessageText.h"
#include "core/messaging/support/MessagingFixture.h"
#include "core/messaging/support/TestRegistry.h"
#include "messaging/Specifier.h"
#include "messaging/TevoroTalkContext.h"
#include "messaging/TevoroTalkUtils.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace test {

// A process with the bus, or about to have it. What a test does not delete goes with the bus.
class BusFixture : public MessagingFixture {
protected:
    using TevoroTalk = ScObjects::TevoroTalk;
    using Message = TevoroTalk::Message;
    using Context = ScObjects::TevoroTalkContext;
    using SoString = ScObjects::SoString;
    using Words = std::vector<std::string>;
    using Numbers = std::vector<std::uint32_t>;

    static constexpr std::uint32_t kNone = ScObjects::QK_INVALID_MESSAGE_NUMBER;

    ~BusFixture() override
    {
        TevoroTalk::InitTerm::exit();
        EXPECT_EQ(inbox.handlers, 0);
    }

    // The main instance, whose handler writes to `inbox`; starts the bus.
    TevoroTalk& start(const char* name = "self-1.0")
    {
        TevoroTalk::InitTerm::init(name, true);
        handler = new InboxHandler(inbox);
        return *(self = new TevoroTalk(name, handler, true, nullptr));
    }

    // Another instance of this process.
    TevoroTalk& another(const char* name, InboxHandler* itsHandler = nullptr) const
    {
        return *new TevoroTalk(name, itsHandler, false, nullptr);
    }

    static std::unique_ptr<Message> request(const std::string& target,
        const std::string& body = "body",
        const std::string& responseRequest = {})
    {
        auto message = std::make_unique<Message>();
        message->target = target.c_str();
        message->body = soString(body);
        message->responseRequest = responseRequest.c_str();
        return message;
    }
    static bool send(const TevoroTalk& from, Message& message, bool launch = false)
    {
        return from.send(message, launch, 0, nullptr);
    }

    static bool pump() { return TevoroTalk::pump(TevoroTalk::kBoth, nullptr); }

    // Pumps until that holds; false when it does not for long.
    static bool pumpUntil(
        const std::function<bool()>& condition, std::chrono::milliseconds patience = kPatience)
    {
        const auto limit = std::chrono::steady_clock::now() + patience;
        for (bool isMet = false; std::chrono::steady_clock::now() < limit;) {
            pump();
            if ((isMet = condition()))
                return true;
            if (const TevoroTalk* const main = TevoroTalk::get(nullptr))
                main->waitForMessage(kLookAgain);
        }
        return false;
    }
    // The same, without pumping.
    static bool waitUntil(const std::function<bool()>& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > limit)
                return false;
            ScObjects::TevoroTalkUtils::sleep(1);
        }
        return true;
    }

    // Takes and forgets what has arrived.
    static void drain(ScObjects::InterAppStream& stream)
    {
        while (stream.messagePending() && stream.receive())
            stream.getMessages();
    }

    static bool isReadable(int descriptor, std::chrono::milliseconds limit = {})
    {
        pollfd question = {descriptor, POLLIN, 0};
        return ::poll(&question, 1, static_cast<int>(limit.count())) == 1;
    }

    // What lies in a queue ("in" or "out") of an instance, as the values of that line of its
    // diagnostics, like "Type".
    static Words queued(
        const TevoroTalk& instance, const std::string& queue, const std::string& label)
    {
        SoString tree;
        instance.appendDiagnostics(tree, "");
        const std::string start = "/" + bytes(instance.getAppName()) + "/" + queue + "/msg";
        Words values;
        SoString path;
        SoString name;
        SoString value;
        bool hasChildren = false;
        const std::string lines = bytes(tree);
        for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
            const std::string line = lines.substr(at, lines.find('\n', at) + 1 - at);
            ScObjects::TevoroTalkUtils::parseInfoLine(line.c_str(), path, name, value, hasChildren);
            if (path.view().starts_with(start) && name == label.c_str())
                values.push_back(bytes(value));
        }
        return values;
    }

    static std::int64_t now() { return ScObjects::TevoroTalkUtils::getTimeSeconds(); }

    // Messages as they lie in a text of the wire, described.
    static Words messagesIn(const std::string& text)
    {
        Words result;
        const char* const end = text.data() + text.size();
        for (const char* at = text.data(); at != end;) {
            Message message;
            at = message.readFromString(at, end);
            result.push_back(described(message));
        }
        return result;
    }

    // Keeps the thread of the bus from working, so that only the test moves messages.
    class Paused {
    public:
        Paused()
            : m_pause(Context::getCurrentContext())
        {
        }

    private:
        Context::PausedThread m_pause;
    };

    Inbox inbox;
    InboxHandler* handler = nullptr; // of the main instance
    TevoroTalk* self = nullptr; // the main instance

private:
    static constexpr int kLookAgain = 20; // milliseconds
};

} // namespace test
