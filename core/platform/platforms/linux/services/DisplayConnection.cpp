#include "platform/platforms/linux/services/DisplayConnection.h"

#include <array>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Pt {

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

// The number in ":NUMBER" or "unix:NUMBER"; nothing for a display of elsewhere.
std::optional<int> localNumber(const DisplayLibrary& library, const std::string& display)
{
    char* host = nullptr;
    int number = 0;
    if (library.xcb_parse_display(display.c_str(), &host, &number, nullptr) == 0)
        return std::nullopt;
    const bool isLocal = *host == '\0' || std::strcmp(host, "unix") == 0;
    std::free(host);
    return isLocal ? std::optional(number) : std::nullopt;
}

// A leading NUL stands for a name that is no file.
Descriptor connectTo(const std::string& name)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    name.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    // Without blocking: the queue of a server that hangs may be full.
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const place = reinterpret_cast<const sockaddr*>(&address);
    if (socket.isOpen() && ::connect(socket.get(), place, size) != 0)
        return {};
    return socket;
}

Descriptor connectToServer(int number)
{
    const std::string file = "/tmp/.X11-unix/X" + std::to_string(number);
    Descriptor socket = connectTo(std::string(1, '\0') + file);
    return socket.isOpen() ? std::move(socket) : connectTo(file);
}

xcb_connection_t* openConnection(const DisplayLibrary& library, int socket, int number)
{
    const std::string host = hostName();
    const std::string display = std::to_string(number);
    std::string method = "MIT-MAGIC-COOKIE-1";
    const auto length = [](std::string_view text) {
        return static_cast<unsigned short>(text.size());
    };
    char* methods[] = {method.data()};
    const int methodLength = length(method);
    Xauth* const secret = library.XauGetBestAuthByAddr(FamilyLocal,
        length(host),
        host.c_str(),
        length(display),
        display.c_str(),
        1,
        methods,
        &methodLength);
    if (secret == nullptr)
        return library.xcb_connect_to_fd(socket, nullptr);
    xcb_auth_info_t info = {secret->name_length, secret->name, secret->data_length, secret->data};
    xcb_connection_t* const connection = library.xcb_connect_to_fd(socket, &info);
    library.XauDisposeAuth(secret);
    return connection;
}

void endAt(const std::stop_token& stop, int socket, SteadyTime deadline)
{
    std::mutex lock;
    std::condition_variable_any never;
    std::unique_lock locked(lock);
    never.wait_until(locked, stop, deadline, [] { return false; });
    if (!stop.stop_requested())
        ::shutdown(socket, SHUT_RDWR); // whoever waits for it reads an end
}

// The application's signals are no business of the thread.
std::jthread watch(int socket, SteadyTime deadline)
{
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    struct Restored {
        const sigset_t& mask;
        ~Restored() { ::pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
    } const restored{before};
    return std::jthread(endAt, socket, deadline);
}

} // namespace

std::string hostName()
{
    std::array<char, 256> name{}; // HOST_NAME_MAX is 64
    ::gethostname(name.data(), name.size() - 1);
    return name.data();
}

void DisplayConnection::Freed::operator()(void* reply) const
{
    std::free(reply);
}

DisplayConnection::DisplayConnection(
    const DisplayLibrary& library, const std::string& display, SteadyTime deadline)
    : m_library(library)
{
    const auto number = localNumber(library, display);
    Descriptor socket = number ? connectToServer(*number) : Descriptor();
    if (!socket.isOpen())
        return;
    m_socket = Descriptor(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    if (!m_socket.isOpen())
        return;
    m_watch = watch(m_socket.get(), deadline);
    m_connection = openConnection(library, socket.release(), *number);
}

DisplayConnection::~DisplayConnection()
{
    if (m_connection != nullptr)
        m_library.xcb_disconnect(m_connection);
}

bool DisplayConnection::isOpen() const
{
    return m_connection != nullptr && m_library.xcb_connection_has_error(m_connection) == 0;
}

std::vector<xcb_window_t> DisplayConnection::roots() const
{
    std::vector<xcb_window_t> found;
    if (!isOpen())
        return found;
    for (auto screen = m_library.xcb_setup_roots_iterator(m_library.xcb_get_setup(m_connection));
         screen.rem > 0;
         m_library.xcb_screen_next(&screen))
        found.push_back(screen.data->root);
    return found;
}

xcb_atom_t DisplayConnection::atom(const std::string& name) const
{
    const auto length = static_cast<std::uint16_t>(name.size());
    const auto cookie = m_library.xcb_intern_atom(m_connection, 1, length, name.c_str());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freed> reply(
        m_library.xcb_intern_atom_reply(m_connection, cookie, nullptr));
    return reply != nullptr ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

DisplayConnection::Property DisplayConnection::property(
    xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const
{
    constexpr std::uint32_t kMaxLength = 4096; // in units of four bytes
    const auto cookie =
        m_library.xcb_get_property(m_connection, 0, window, name, type, 0, kMaxLength);
    return Property(m_library.xcb_get_property_reply(m_connection, cookie, nullptr));
}

std::vector<std::uint32_t> DisplayConnection::numbers(
    xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const
{
    const Property found = property(window, name, type);
    if (found == nullptr || found->format != 32)
        return {};
    const auto size =
        static_cast<std::size_t>(m_library.xcb_get_property_value_length(found.get()));
    std::vector<std::uint32_t> result(size / sizeof(std::uint32_t));
    if (!result.empty())
        std::memcpy(result.data(),
            m_library.xcb_get_property_value(found.get()),
            result.size() * sizeof(std::uint32_t));
    return result;
}

std::string DisplayConnection::text(xcb_window_t window, xcb_atom_t name) const
{
    const Property found = property(window, name, XCB_ATOM_ANY);
    if (found == nullptr || found->format != 8)
        return {};
    return {static_cast<const char*>(m_library.xcb_get_property_value(found.get())),
        static_cast<std::size_t>(m_library.xcb_get_property_value_length(found.get()))};
}

bool DisplayConnection::tell(xcb_window_t root, const xcb_client_message_event_t& message) const
{
    m_library.xcb_send_event(m_connection,
        0,
        root,
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&message));
    // Any answer shows that what was sent before has arrived.
    const auto cookie = m_library.xcb_get_input_focus(m_connection);
    const std::unique_ptr<xcb_get_input_focus_reply_t, Freed> reply(
        m_library.xcb_get_input_focus_reply(m_connection, cookie, nullptr));
    return reply != nullptr;
}

} // namespace Pt
