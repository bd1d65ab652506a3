// One of the processes of the soak: sends to the others at random, answers them, and writes down
// every step, a line each, in one write to a file that is only appended to, so that a kill at any
// moment leaves whole lines.
//
//   S ID TARGET KIND TIME   is about to be sent
//   D ID TIME               was delivered              F ID TIME   was refused
//   H ID                    its handler saw it
//   A ID ANSWER             result, error or timeout came back
//
// Usage: SoakPeer NUMBER PEERS RECORD SEED. Sends until it reads a line, then only answers until it
// reads another one.
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using namespace ScObjects;

std::string nameOf(int number)
{
    return "soak" + std::to_string(number) + "x-1.0";
}

class Record {
public:
    explicit Record(const char* path)
        : m_file(::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600))
    {
    }
    ~Record() { ::close(m_file); }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    void write(const std::string& line) const
    {
        const std::string whole = line + "\n";
        if (::write(m_file, whole.data(), whole.size()) != static_cast<ssize_t>(whole.size()))
            std::abort();
    }

private:
    int m_file;
};

class Receiver final : public TevoroTalk::MsgHandler {
public:
    explicit Receiver(const Record& record)
        : m_record(record)
    {
    }
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        if (reason != kRequest)
            return 0; // a late answer to a question that was given up
        m_record.write("H " + std::string(message.body.view()));
        if (result != nullptr)
            *result = message.body;
        return 0;
    }

private:
    const Record& m_record;
};

class AnswerHandler final : public TevoroTalk::MsgHandler {
public:
    AnswerHandler(const Record& record, const char* type, std::uint32_t serial, std::string id)
        : m_record(record)
        , m_type(type)
        , m_serial(serial)
        , m_id(std::move(id))
    {
    }
    long handleMessage(int reason, TevoroTalk::Message&, SoString*) override
    {
        const char* const answer = reason == kResult ? "result"
            : reason == kError                       ? "error"
                                                     : "timeout";
        m_record.write("A " + m_id + " " + answer);
        return 0;
    }
    const char* getMsgType() const override { return m_type; }
    std::uint32_t getSerialNumber() const override { return m_serial; }

private:
    const Record& m_record;
    const char* m_type;
    std::uint32_t m_serial;
    std::string m_id;
};

class Soaker {
public:
    Soaker(int number, int peers, const char* record, unsigned int seed)
        : m_number(number)
        , m_peers(peers)
        , m_record(record)
        , m_random(seed)
        , m_bus(nameOf(number).c_str(), new Receiver(m_record), true, nullptr)
    {
    }

    bool holdsItsName() const { return m_bus.getAppName() == nameOf(m_number).c_str(); }

    void work(bool sends)
    {
        if (sends)
            sendOne();
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
        m_bus.waitForMessage(sends ? static_cast<int>(m_random() % 3) : 20);
    }

private:
    enum Kind { kPlain, kAsked, kTimed, kForged };

    void sendOne()
    {
        const int target =
            (m_number + 1 + static_cast<int>(m_random() % unsigned(m_peers - 1))) % m_peers;
        const auto kind = static_cast<Kind>(m_random() % 4);
        const std::string id = std::to_string(m_number) + "." + std::to_string(::getpid()) + "."
            + std::to_string(++m_count);
        m_record.write(
            "S " + id + " " + std::to_string(target) + " " + std::to_string(kind) + " " + time());
        TevoroTalk::Message message;
        message.target = nameOf(target).c_str();
        message.body = id.c_str();
        message.serialNumber = TevoroTalk::Message::getNextSerialNumber(nullptr);
        if (kind != kPlain)
            message.responseRequest = kind == kTimed ? "Result Error Timeout" : "Result Error";
        if (kind == kTimed)
            message.timeout = 1;
        if (kind != kPlain)
            awaitAnswers(message.serialNumber, id, kind);
        const bool isDelivered =
            kind == kForged ? forge(message) : m_bus.send(message, false, 0, nullptr);
        m_record.write((isDelivered ? "D " : "F ") + id + " " + time());
        if (!isDelivered)
            m_bus.deleteHandlers(message.serialNumber);
    }

    static std::string time()
    {
        return std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
    }

    void awaitAnswers(std::uint32_t serial, const std::string& id, Kind kind)
    {
        for (const char* type : {"Result", "Error"})
            delete m_bus.changeHandler(new AnswerHandler(m_record, type, serial, id));
        if (kind == kTimed)
            delete m_bus.changeHandler(new AnswerHandler(m_record, "Timeout", serial, id));
    }

    // A message whose digest is that of another one.
    bool forge(TevoroTalk::Message& message)
    {
        message.sender = m_bus.getAppName();
        SoString text;
        message.writeToString(text);
        std::string forged(text.view());
        forged.back() = forged.back() == 'x' ? 'y' : 'x';
        const std::string port = gPortName + std::string(message.target.view());
        return m_sender.send(port, forged, std::chrono::seconds(10));
    }

    int m_number;
    int m_peers;
    Record m_record;
    std::minstd_rand m_random;
    TevoroTalk m_bus;
    Pt::LocalPortSender m_sender;
    unsigned int m_count = 0;
};

bool wasTold()
{
    pollfd question = {STDIN_FILENO, POLLIN, 0};
    if (::poll(&question, 1, 0) != 1)
        return false;
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n') { }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5)
        return 2;
    Soaker soaker(std::atoi(argv[1]),
        std::atoi(argv[2]),
        argv[3],
        static_cast<unsigned int>(std::atoi(argv[4])));
    if (!soaker.holdsItsName())
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);
    while (!wasTold())
        soaker.work(true);
    while (!wasTold())
        soaker.work(false);
    return 0;
}
