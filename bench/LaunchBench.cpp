// How long an application takes to answer that does not run yet.
//
//   launch               from a send with launching to the result, in one process that pumps
//   activation           from a method call to its reply, of a service that a message broker starts
//
// Both start this program, which comes up at once, and both in turn, so that they meet the same
// machine. Each row is one JSON object, of medians; "ratio" is the launch beside the activation,
// and "aim" what it should be.
//
// Usage: launch_bench [TURNS]

#include "Median.h"
#include "OwnFolder.h"
#include "messaging/Message.h"
#include "messaging/MsgHandler.h"
#include "messaging/TevoroTalk.h"
#include "peers/Peer.h"
#include "platform/common/services/ProcessControl.h"
#include "registry/QKConnectorAppInfoList.h"
#include "registry/TevoroTalkConnector.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace bench {

namespace {

using namespace ScObjects;
using SteadyClock = std::chrono::steady_clock;
using Times = std::vector<double>; // milliseconds

constexpr const char* kApplication = "benchlaunched-1.0";
constexpr const char* kRole = "LAUNCH_BENCH_ROLE"; // a launched application gets no arguments
constexpr const char* kName = "org.example.Launched";
constexpr const char* kPath = "/org/example/Launched";

double millisecondsSince(SteadyClock::time_point start)
{
    return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

std::string ownPath()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

// Answers one script, and stays until it is killed.
class AnsweringHandler final : public TevoroTalk::MsgHandler {
public:
    long handleMessage(int, TevoroTalk::Message& message, SoString* result) override
    {
        if (result != nullptr)
            *result = message.body;
        return 0;
    }
};

[[noreturn]] void beApplication()
{
    TevoroTalk bus(kApplication, new AnsweringHandler, true, nullptr);
    for (;;) {
        bus.waitForMessage(-1);
        TevoroTalk::pump(TevoroTalk::kBoth, nullptr);
    }
}

int onEcho(sd_bus_message* message, void*, sd_bus_error*)
{
    const char* text = nullptr;
    sd_bus_message_read(message, "s", &text);
    return sd_bus_reply_method_return(message, "s", text);
}

// The macros of its header are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wpedantic"
const sd_bus_vtable kTable[] = {SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Echo", "s", "s", onEcho, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};
#pragma GCC diagnostic pop

sd_bus* connectTo(const std::string& address)
{
    sd_bus* bus = nullptr;
    require(sd_bus_new(&bus) >= 0 && sd_bus_set_address(bus, address.c_str()) >= 0
            && sd_bus_set_bus_client(bus, 1) >= 0 && sd_bus_start(bus) >= 0,
        "sd_bus_start");
    return bus;
}

[[noreturn]] void beService()
{
    sd_bus* const bus = connectTo(std::getenv("DBUS_STARTER_ADDRESS"));
    require(sd_bus_add_object_vtable(bus, nullptr, kPath, kName, kTable, nullptr) >= 0,
        "sd_bus_add_object_vtable");
    require(sd_bus_request_name(bus, kName, 0) >= 0, "sd_bus_request_name");
    for (;;)
        if (sd_bus_process(bus, nullptr) == 0)
            sd_bus_wait(bus, ~std::uint64_t{0});
}

// Kills all copies of this program but this one, and waits for their end.
void endOthers()
{
    const auto own = static_cast<unsigned long>(::getpid());
    for (const unsigned long id : Pt::processesOfProgram(ownPath()))
        if (id != own)
            ::kill(static_cast<pid_t>(id), SIGKILL);
    while (Pt::processesOfProgram(ownPath()).size() > 1)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

class OneApplication final : public TevoroTalkConnector {
public:
    using TevoroTalkConnector::registerApplication;
    using TevoroTalkConnector::unregisterApplication;

    OneApplication()
        : TevoroTalkConnector("bench")
    {
    }
    SoString getName() const override { return "bench"; }
    bool addToGroup(const Specifier&, const SoString&, const SoString*) override { return false; }
    bool removeFromGroup(const Specifier&, const SoString&, const SoString*) override
    {
        return false;
    }
    bool initLists(QKConnectorAppInfoList& list, SoVector<SoString>&) override
    {
        auto* const record = new QKConnectorAppInfo;
        record->specifier = kApplication;
        record->path = ownPath().c_str();
        return list.append(record);
    }
    bool updateCache(bool) override { return true; }
    bool registerApplication(QKConnectorAppInfo&) override { return false; }
    bool unregisterApplication(const QKConnectorAppInfo&) override { return false; }
};

class ResultHandler final : public TevoroTalk::MsgHandler {
public:
    ResultHandler(std::uint32_t serial, bool& isThere)
        : m_serial(serial)
        , m_isThere(isThere)
    {
    }
    long handleMessage(int, TevoroTalk::Message&, SoString*) override
    {
        m_isThere = true;
        return 0;
    }
    const char* getMsgType() const override { return "Result"; }
    std::uint32_t getSerialNumber() const override { return m_serial; }

private:
    std::uint32_t m_serial;
    bool& m_isThere;
};

double timeOfLaunch(TevoroTalk& bus)
{
    bool isThere = false;
    TevoroTalk::Message message;
    message.target = kApplication;
    message.body = "1+1;";
    message.responseRequest = "Result";
    message.serialNumber = TevoroTalk::Message::getNextSerialNumber(nullptr);
    delete bus.changeHandler(new ResultHandler(message.serialNumber, isThere));
    const auto start = SteadyClock::now();
    bus.send(message, true, 60, nullptr);
    const double time = millisecondsSince(start);
    require(isThere, "a result of the launched application");
    endOthers();
    return time;
}

// A broker of its own that may start this program.
class Broker {
public:
    explicit Broker(const std::string& folder)
        : m_address("unix:path=" + folder + "/broker")
    {
        std::filesystem::create_directory(folder + "/services");
        std::ofstream(folder + "/services/" + kName + ".service")
            << "[D-BUS Service]\nName=" << kName << "\nExec=" << ownPath() << " service\n";
        std::ofstream(folder + "/broker.conf")
            << "<busconfig><type>session</type><listen>" << m_address
            << "</listen><auth>EXTERNAL</auth><servicedir>" << folder
            << "/services</servicedir><policy context=\"default\"><allow send_destination=\"*\"/>"
               "<allow own=\"*\"/><allow receive_sender=\"*\"/></policy></busconfig>\n";
        start("--config-file=" + folder + "/broker.conf");
    }
    ~Broker()
    {
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
    }
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    double timeOfActivation() const
    {
        sd_bus* bus = connectTo(m_address);
        sd_bus_message* answer = nullptr;
        const auto start = SteadyClock::now();
        require(sd_bus_call_method(bus, kName, kPath, kName, "Echo", nullptr, &answer, "s", "1+1;")
                >= 0,
            "sd_bus_call_method");
        const double time = millisecondsSince(start);
        sd_bus_message_unref(answer);
        sd_bus_flush_close_unref(bus);
        endOthers();
        return time;
    }

private:
    void start(const std::string& configuration)
    {
        int ready[2];
        require(::pipe(ready) == 0, "pipe");
        m_process = ::fork();
        if (m_process == 0) {
            ::dup2(ready[1], STDOUT_FILENO);
            ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO); // it tells of each activation
            ::execlp("dbus-daemon",
                "dbus-daemon",
                "--nofork",
                "--print-address",
                configuration.c_str(),
                nullptr);
            ::_exit(127);
        }
        char byte = 0;
        require(::read(ready[0], &byte, 1) == 1, "dbus-daemon");
        ::close(ready[0]);
        ::close(ready[1]);
    }

    std::string m_address;
    pid_t m_process = -1;
};

void run(int turns, const std::string& folder)
{
    const Broker broker(folder);
    ::setenv(kRole, "application", 1); // not for the broker's
    TevoroTalkConnector::set(new OneApplication);
    TevoroTalk bus("benchlauncher-1.0", nullptr, true, nullptr);
    Times launches;
    Times activations;
    for (int i = 0; i < turns; ++i) {
        launches.push_back(timeOfLaunch(bus));
        activations.push_back(broker.timeOfActivation());
    }
    std::printf("{\"name\":\"activation\",\"ms\":%.1f}\n", median(activations));
    std::printf("{\"name\":\"launch\",\"ms\":%.1f,\"worst\":%.1f,\"ratio\":%.2f,\"aim\":\"< 300 "
                "ms\"}\n",
        median(launches),
        *std::max_element(launches.begin(), launches.end()),
        median(launches) / median(activations));
}

} // namespace
} // namespace bench

int main(int argc, char** argv)
{
    if (const char* const role = std::getenv(bench::kRole); role != nullptr && *role != '\0')
        bench::beApplication();
    if (argc > 1 && argv[1] == std::string("service"))
        bench::beService();
    const int turns = argc > 1 ? std::atoi(argv[1]) : 21;
    if (turns < 1) {
        std::fprintf(stderr, "usage: %s [TURNS]\n", argv[0]);
        return 2;
    }
    const bench::OwnFolder folder("launch");
    bench::run(turns, folder.path());
    return 0;
}
