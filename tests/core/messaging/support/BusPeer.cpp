// An application in a process of its own. Usage: bus_peer NAME [COUNT|alone]. Starts the bus under
// that name, with "alone" by its instance alone, and says which it got, or "-"; with COUNT it
// counts from the beginning. Then it pumps
// whenever there is something to do, and does what each line of its input asks for, until that
// ends:
//
//   send TARGET REQUEST TIMEOUT BODY
//                  sends a message; REQUEST is words with commas between, or "-"; says "sent" or
//                  "not" and its number
//   stream TARGET COUNT
//                  sends as many messages with the bodies 0, 1, 2 ...; says "streamed" and how many
//   exchange TARGET COUNT BYTES
//                  sends as many requests of that size that want a result, and then waits for the
//                  result of one more; says "exchanged", how many were sent and "answered" or "not"
//   answer CODE TEXT
//                  what its handler returns from now on; CODE "throw" throws
//   count COUNT    from now on expects the bodies 0, 1, 2 ...; says "counted COUNT" when it had as
//                  many, or "wrong" and the body
//   pump off|on    whether it pumps
//   quiet          says nothing of the messages any more
//   serial         says the number that a message would get
//
// For each message that is handled, unless they are counted, it says "got" and the reason, the
// type, the number, the sender and the body.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/TevoroTalkContext.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace {

using namespace ScObjects;
using Message = TevoroTalk::Message;

void say(const std::string& line)
{
    std::cout << line << std::endl; // each line is waited for
}

class PeerHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int reason, Message& message, SoString* result) override
    {
        if (expected >= 0)
            count(message);
        else if (!isQuiet)
            tell(reason, message);
        if (throws)
            throw std::runtime_error("as asked for");
        if (result != nullptr)
            *result = answer.c_str();
        return code;
    }

    bool isQuiet = false; // says nothing
    long code = 0;
    std::string answer = "done";
    bool throws = false;
    long expected = -1; // as many are to come; none are counted
    long counted = 0;

private:
    static void tell(int reason, const Message& message)
    {
        std::ostringstream line;
        line << "got " << reason << ' ' << message.type.get() << ' ' << message.serialNumber << ' '
             << message.sender.get() << ' ' << message.body.get();
        say(line.str());
    }

    void count(const Message& message)
    {
        if (message.body != std::to_string(counted).c_str())
            say(std::string("wrong ") + message.body.get());
        else if (++counted == expected)
            say("counted " + std::to_string(counted));
    }
};

// For the answers to one message.
class LastHandler final : public TevoroTalk::MsgHandler {
public:
    explicit LastHandler(std::uint32_t number)
        : m_number(number)
    {
    }
    long handleMessage(int, Message&, SoString*) override { return 0; }
    std::uint32_t getSerialNumber() const override { return m_number; }

private:
    std::uint32_t m_number;
};

class Peer {
public:
    Peer(const char* name, long expected, bool isAlone)
        : m_instance((isAlone || TevoroTalk::InitTerm::init(name, true),
            m_handler = new PeerHandler,
            new TevoroTalk(name, m_handler, true, nullptr)))
    {
        m_handler->expected = expected;
        const SoString got = m_instance->getAppName();
        say(got.isEmpty() ? "-" : got.get());
    }
    ~Peer() { TevoroTalk::InitTerm::exit(); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    // False when a line cannot be obeyed.
    bool run()
    {
        std::string input;
        for (;;) {
            pollfd questions[] = {
                {STDIN_FILENO, POLLIN, 0}, {m_instance->waitDescriptor(), POLLIN, 0}};
            ::poll(questions, m_pumps ? 2 : 1, -1);
            if (m_pumps)
                TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
            if (questions[0].revents == 0)
                continue;
            char bytes[4096];
            const ssize_t got = ::read(STDIN_FILENO, bytes, sizeof bytes);
            if (got <= 0)
                return true;
            input.append(bytes, static_cast<std::size_t>(got));
            for (std::size_t end = 0; (end = input.find('\n')) != std::string::npos;) {
                if (!obey(std::istringstream(input.substr(0, end))))
                    return false;
                input.erase(0, end + 1);
            }
        }
    }

private:
    bool obey(std::istringstream words)
    {
        std::string command;
        words >> command;
        if (command == "send")
            return send(words);
        if (command == "stream")
            return stream(words);
        if (command == "quiet")
            return m_handler->isQuiet = true;
        if (command == "exchange")
            return exchange(words);
        if (command == "answer")
            return setAnswer(words);
        if (command == "pump")
            return setPump(words);
        if (command == "count")
            return static_cast<bool>(words >> m_handler->expected);
        if (command == "serial")
            say(std::to_string(TevoroTalk::getSharedContext()->getNextSerialNumber()));
        return command == "serial";
    }

    bool send(std::istringstream& words) const
    {
        std::string target;
        std::string request;
        Message message;
        if (!(words >> target >> request >> message.timeout))
            return false;
        std::replace(request.begin(), request.end(), ',', ' ');
        std::string body;
        std::getline(words >> std::ws, body);
        message.target = target.c_str();
        message.responseRequest = request == "-" ? "" : request.c_str();
        message.body = body.c_str();
        const bool isSent = m_instance->send(message, false, 0, nullptr);
        say((isSent ? "sent " : "not ") + std::to_string(message.serialNumber));
        return true;
    }

    bool stream(std::istringstream& words) const
    {
        std::string target;
        long count = 0;
        if (!(words >> target >> count))
            return false;
        long sent = 0;
        for (; sent < count; ++sent) {
            Message message;
            message.target = target.c_str();
            message.body = std::to_string(sent).c_str();
            if (!m_instance->send(message, false, 0, nullptr))
                break;
        }
        say("streamed " + std::to_string(sent));
        return true;
    }

    bool exchange(std::istringstream& words) const
    {
        std::string target;
        long count = 0;
        std::size_t bytes = 0;
        if (!(words >> target >> count >> bytes))
            return false;
        const std::string body(bytes, 'x');
        long sent = 0;
        for (long i = 0; i < count; ++i) {
            Message message;
            message.target = target.c_str();
            message.responseRequest = "Result";
            message.body = body.c_str();
            sent += m_instance->send(message, false, 0, nullptr) ? 1 : 0;
        }
        Message last;
        last.target = target.c_str();
        last.responseRequest = "Result";
        last.body = "last";
        last.serialNumber = Message::getNextSerialNumber(nullptr);
        delete m_instance->changeHandler(new LastHandler(last.serialNumber));
        const bool isAnswered = m_instance->send(last, false, kLong, nullptr);
        say("exchanged " + std::to_string(sent) + (isAnswered ? " answered" : " not"));
        return true;
    }

    bool setAnswer(std::istringstream& words) const
    {
        std::string code;
        words >> code;
        m_handler->throws = code == "throw";
        m_handler->code = m_handler->throws ? 0 : std::stol(code);
        std::getline(words >> std::ws, m_handler->answer);
        return true;
    }

    bool setPump(std::istringstream& words)
    {
        std::string state;
        words >> state;
        m_pumps = state == "on";
        return m_pumps || state == "off";
    }

    static constexpr unsigned long kLong = 60; // seconds

    PeerHandler* m_handler = nullptr; // owned by the instance
    TevoroTalk* m_instance; // owned by the bus
    bool m_pumps = true;
};

} // namespace

int main(int count, char** words)
{
    if (count != 2 && count != 3)
        return 2;
    const bool isAlone = count == 3 && std::string(words[2]) == "alone";
    Peer peer(words[1], count == 3 && !isAlone ? std::stol(words[2]) : -1, isAlone);
    return peer.run() ? 0 : 2;
}
