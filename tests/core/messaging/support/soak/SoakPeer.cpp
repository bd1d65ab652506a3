// One of the processes of the soak: sends to the others at random, answers them, and writes down
// every step, a line each, in one write to a file that is only appended to, so that a kill at any
// moment leaves whole lines.
//
//   S ID TARGET KIND FLOOD TIME   is about to be sent, as part of that flood, or of none (0)
//   D ID TIME                     was delivered          F ID TIME   was refused
//   H ID PROCESS TIME             its handler saw it, in that process
//   A ID ANSWER TIME              result, error, timeout, processed or ping came back
//   P PROCESS FROM TO             that process did nothing meanwhile: stopped, or waiting
//   B PROCESS FROM TO             it had something to read or to do all the while
//
// PROCESS is a number that no other process of the soak has; the system's are used again.
//
// Usage: SoakPeer NUMBER PEERS RECORD SEED PROCESS. Reads lines: "flood NUMBER" has it send some
// thousands of messages to that one without a pause, "no more" has it only answer, "end" ends it.
#include "core/messaging/support/soak/SoakBooks.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "messaging/mailbox/InterAppStream.h"
#include "platform/common/ports/LocalPort.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

using namespace ScObjects;

std::string nameOf(int number)
{
    return "soak" + std::to_string(number) + "x-1.0";
}

unsigned int gProcess = 0;

constexpr long kMillisecond = test::kSecond / 1000;

long now()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
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

    void write(const std::string& line)
    {
        const long time = tick();
        append(line + " " + std::to_string(time));
    }

    // Called wherever the peer gets along; notes when it did not.
    long tick()
    {
        const long time = now();
        noteSpan("P", m_last, time);
        return m_last = time;
    }

    // Called whenever nothing is left to read; notes when that was not so for long.
    void idle()
    {
        const long time = tick();
        noteSpan("B", m_lastIdle, time);
        m_lastIdle = time;
    }

private:
    void noteSpan(const char* step, long from, long to) const
    {
        constexpr long kShort = test::kSecond / 4;
        if (to - from > kShort)
            append(step + (" " + std::to_string(gProcess)) + " " + std::to_string(from) + " "
                + std::to_string(to));
    }

    void append(const std::string& line) const
    {
        const std::string whole = line + "\n";
        if (::write(m_file, whole.data(), whole.size()) != static_cast<ssize_t>(whole.size()))
            std::abort();
    }

    int m_file;
    long m_last = now();
    long m_lastIdle = m_last;
};

// Of a body: what comes after a blank only makes it large.
std::string idIn(const TevoroTalk::Message& message)
{
    const std::string body(message.body.view());
    return body.substr(0, body.find(' '));
}

class Receiver final : public TevoroTalk::MsgHandler {
public:
    explicit Receiver(Record& record)
        : m_record(record)
    {
    }
    long handleMessage(int reason, TevoroTalk::Message& message, SoString* result) override
    {
        const std::string id = idIn(message);
        if (message.type == "ping" && !id.empty())
            m_record.write("A " + id + " ping");
        if (reason != kRequest)
            return 0; // a late answer to a question that was given up
        m_record.write("H " + id + " " + std::to_string(gProcess));
        if (result != nullptr)
            *result = id.c_str();
        return 0;
    }

private:
    Record& m_record;
};

class AnswerHandler final : public TevoroTalk::MsgHandler {
public:
    AnswerHandler(Record& record, const char* type, std::uint32_t serial, std::string id)
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
            : reason == kTimeout                     ? "timeout"
                                                     : "processed";
        m_record.write("A " + m_id + " " + answer);
        return 0;
    }
    const char* getMsgType() const override { return m_type; }
    std::uint32_t getSerialNumber() const override { return m_serial; }

private:
    Record& m_record;
    const char* m_type;
    std::uint32_t m_serial;
    std::string m_id;
};

using Kind = test::SoakKind;

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
        const long time = m_record.tick();
        if (sends && time >= m_nextSend) {
            m_nextSend = time + draw(20) * kMillisecond;
            sendOne();
        }
        if (!TevoroTalk::pump(TevoroTalk::kBoth, nullptr))
            m_record.idle();
        m_bus.waitForMessage(sends ? draw(10) : 20);
    }

    // Until one finds no room, or nobody.
    void flood(int target)
    {
        ++m_floods;
        for (int left = 1000 + draw(3000); left > 0; --left) {
            const int share = draw(16);
            const Kind kind = share < 4 ? Kind::kPing
                : share < 7             ? static_cast<Kind>(draw(4))
                                        : Kind::kPlain;
            if (!send(target, kind, drawPadding(), m_floods))
                return;
        }
    }

private:
    int draw(int below) { return static_cast<int>(m_random() % static_cast<unsigned int>(below)); }

    void sendOne()
    {
        const int target = (m_number + 1 + draw(m_peers - 1)) % m_peers;
        send(target, static_cast<Kind>(draw(5)), 0, 0);
    }

    // Some larger than what fits into a buffer or two, a few too large for a packet.
    std::size_t drawPadding()
    {
        const int share = draw(1000);
        return share == 0 ? 5'000'000 : share < 50 ? static_cast<std::size_t>(draw(300'000)) : 0;
    }

    bool send(int target, Kind kind, std::size_t padding, int flood)
    {
        const std::string id = std::to_string(m_number) + "." + std::to_string(gProcess) + "."
            + std::to_string(++m_count);
        m_record.write("S " + id + " " + std::to_string(target) + " "
            + std::to_string(static_cast<int>(kind)) + " " + std::to_string(flood));
        TevoroTalk::Message message;
        fill(message, target, kind);
        message.body = (padding == 0 ? id : id + " " + std::string(padding, 'p')).c_str();
        if (kind != Kind::kPlain && kind != Kind::kPing)
            awaitAnswers(message.serialNumber, id, kind);
        const bool isDelivered =
            kind == Kind::kForged ? forge(message) : m_bus.send(message, false, 0, nullptr);
        m_record.write((isDelivered ? "D " : "F ") + id);
        if (!isDelivered)
            m_bus.deleteHandlers(message.serialNumber);
        return isDelivered;
    }

    // The bus counts from 1 in each process, so that a late answer for the one that held this name
    // before would be taken for one of ours.
    std::uint32_t nextSerialNumber()
    {
        constexpr std::uint32_t kProcesses = 4000;
        return (gProcess % kProcesses << 20) + m_count;
    }

    void fill(TevoroTalk::Message& message, int target, Kind kind)
    {
        const std::string name = nameOf(target);
        message.target = (kind == Kind::kPing ? name + "#thread" : name).c_str();
        message.serialNumber = nextSerialNumber();
        if (kind == Kind::kPing) {
            message.type = "ping";
            message.setHeader("ECHO_REQUEST", "STATUS");
        } else if (kind != Kind::kPlain) {
            message.responseRequest =
                kind == Kind::kTimed ? "Result Error Timeout" : "Result Error";
        }
        if (kind == Kind::kTimed)
            message.timeout = 1;
    }

    void awaitAnswers(std::uint32_t serial, const std::string& id, Kind kind)
    {
        for (const char* type : {"Result", "Error", "Processed"})
            delete m_bus.changeHandler(new AnswerHandler(m_record, type, serial, id));
        if (kind == Kind::kTimed)
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
    int m_floods = 0;
    long m_nextSend = 0;
};

// The next line that was told, if there is one.
std::string nextOrder()
{
    std::string order;
    pollfd question = {STDIN_FILENO, POLLIN, 0};
    if (::poll(&question, 1, 0) != 1)
        return order;
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n')
        order += byte;
    return order.empty() ? "end" : order; // whoever gave orders is gone
}

void obey(Soaker& soaker)
{
    const std::string flood = "flood ";
    bool sends = true;
    for (std::string order; order != "end"; order = nextOrder()) {
        if (order.starts_with(flood))
            soaker.flood(std::stoi(order.substr(flood.size())));
        sends = sends && order != "no more";
        soaker.work(sends);
    }
}

} // namespace

int main(int argc, char** argv)
{
    // Also when it is stopped, and nobody is left to have it go on.
    if (argc != 6 || ::prctl(PR_SET_PDEATHSIG, SIGKILL) != 0)
        return 2;
    gProcess = static_cast<unsigned int>(std::strtoul(argv[5], nullptr, 10));
    Soaker soaker(std::atoi(argv[1]),
        std::atoi(argv[2]),
        argv[3],
        static_cast<unsigned int>(std::strtoul(argv[4], nullptr, 10)));
    if (!soaker.holdsItsName())
        return 3;
    std::printf("ready\n");
    std::fflush(stdout);
    obey(soaker);
    return 0;
}
