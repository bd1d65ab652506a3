// sd-bus through a message broker of its own: method calls, and signals.
#include "peers/Peer.h"

#include <csignal>

#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr const char* kName = "org.example.Bench";
constexpr const char* kPath = "/org/example/Bench";

int onEcho(sd_bus_message* message, void*, sd_bus_error*)
{
    const char* text = nullptr;
    sd_bus_message_read(message, "s", &text);
    return sd_bus_reply_method_return(message, "s", text);
}

int onSignal(sd_bus_message* message, void* count, sd_bus_error*)
{
    const char* text = nullptr;
    sd_bus_message_read(message, "s", &text);
    ++*static_cast<std::size_t*>(count);
    return 0;
}

// The macros of its header are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wpedantic"
const sd_bus_vtable kTable[] = {SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Echo", "s", "s", onEcho, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};
#pragma GCC diagnostic pop

class DBusPeer final : public Peer {
public:
    explicit DBusPeer(const std::string& folder)
        : m_address("unix:path=" + folder + "/broker")
    {
    }
    ~DBusPeer() override
    {
        if (m_broker > 0) {
            ::kill(m_broker, SIGTERM);
            ::waitpid(m_broker, nullptr, 0);
        }
    }

    const char* name() const override { return "sd-bus"; }

    void prepare() override
    {
        if (m_broker > 0)
            return;
        int ready[2];
        require(::pipe(ready) == 0, "pipe");
        m_broker = ::fork();
        if (m_broker == 0) {
            ::dup2(ready[1], STDOUT_FILENO);
            ::execlp("dbus-daemon",
                "dbus-daemon",
                "--session",
                "--nofork",
                "--print-address",
                ("--address=" + m_address).c_str(),
                nullptr);
            ::_exit(127);
        }
        char byte = 0;
        require(::read(ready[0], &byte, 1) == 1, "dbus-daemon");
        ::close(ready[0]);
        ::close(ready[1]);
    }

    void serve(const std::function<void()>& ready) override
    {
        open();
        require(sd_bus_add_object_vtable(m_bus, nullptr, kPath, kName, kTable, nullptr) >= 0,
            "sd_bus_add_object_vtable");
        require(sd_bus_request_name(m_bus, kName, 0) >= 0, "sd_bus_request_name");
        ready();
        while (true)
            work();
    }

    void sink(std::size_t count,
        const std::function<void()>& ready,
        const std::function<void()>& done) override
    {
        open();
        std::size_t taken = 0;
        require(sd_bus_match_signal(m_bus, nullptr, nullptr, kPath, kName, "Told", onSignal, &taken)
                >= 0,
            "sd_bus_match_signal");
        ready();
        while (taken < count)
            work();
        done();
    }

    void connect() override { open(); }

    void ask(const std::string& text) override
    {
        sd_bus_message* answer = nullptr;
        require(sd_bus_call_method(
                    m_bus, kName, kPath, kName, "Echo", nullptr, &answer, "s", text.c_str())
                >= 0,
            "sd_bus_call_method");
        sd_bus_message_unref(answer);
    }

    void tell(const std::string& text) override
    {
        require(sd_bus_emit_signal(m_bus, kPath, kName, "Told", "s", text.c_str()) >= 0,
            "sd_bus_emit_signal");
        // Else it waits in the memory of this process until somebody asks.
        require(sd_bus_flush(m_bus) >= 0, "sd_bus_flush");
    }

    void disconnect() override { m_bus = sd_bus_flush_close_unref(m_bus); }

private:
    void open()
    {
        require(sd_bus_new(&m_bus) >= 0 && sd_bus_set_address(m_bus, m_address.c_str()) >= 0
                && sd_bus_set_bus_client(m_bus, 1) >= 0 && sd_bus_start(m_bus) >= 0,
            "sd_bus_start");
    }

    void work()
    {
        const int done = sd_bus_process(m_bus, nullptr);
        require(done >= 0, "sd_bus_process");
        if (done == 0)
            require(sd_bus_wait(m_bus, ~std::uint64_t{0}) >= 0, "sd_bus_wait");
    }

    std::string m_address;
    pid_t m_broker = -1;
    sd_bus* m_bus = nullptr;
};

} // namespace

std::unique_ptr<Peer> makeDBusPeer(const std::string& folder)
{
    return std::make_unique<DBusPeer>(folder);
}

} // namespace bench
