// A connection to the display server of this machine that DISPLAY names. It ends at a deadline,
// whatever the server does or leaves undone: every question is unanswered from then on. One that
// cannot be made, or that the server refuses, answers nothing from the start. One thread.
#pragma once

#include "platform/platforms/linux/services/Descriptor.h"
#include "platform/platforms/linux/services/DisplayLibrary.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Pt {

// The name of this machine, as windows are marked with it.
std::string hostName();

class DisplayConnection {
public:
    // Borrows the library, which has to be there. A display of another machine, or one that is
    // forwarded to one, is not connected to: its windows are not of this machine's processes, and
    // looking for the machine may take any time. Throws std::system_error where no thread can be
    // started.
    DisplayConnection(const DisplayLibrary& library,
        const std::string& display,
        std::chrono::steady_clock::time_point deadline);
    ~DisplayConnection();
    DisplayConnection(const DisplayConnection&) = delete;
    DisplayConnection& operator=(const DisplayConnection&) = delete;

    bool isOpen() const;

    std::vector<xcb_window_t> roots() const;
    // XCB_ATOM_NONE for none.
    xcb_atom_t atom(const std::string& name) const;
    // Empty where the window has no such property.
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const;
    std::string text(xcb_window_t window, xcb_atom_t name) const;

    // Asks whoever manages the windows of that root; true when the server has taken it.
    bool tell(xcb_window_t root, const xcb_client_message_event_t& message) const;

private:
    struct Freed {
        void operator()(void* reply) const;
    };
    using Property = std::unique_ptr<xcb_get_property_reply_t, Freed>;
    Property property(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) const;

    const DisplayLibrary& m_library;
    Descriptor m_socket; // a share in that of the connection, for the watch
    std::jthread m_watch; // ends the connection at the deadline; goes before the socket
    xcb_connection_t* m_connection = nullptr; // null for none
};

} // namespace Pt
