// Windows of other processes, by the conventions that desktops keep on their display servers.
#include "platform/common/services/ProcessControl.h"
#include "platform/common/services/ProgramEnvironment.h"
#include "platform/platforms/linux/services/DisplayConnection.h"

#include <exception>

namespace Pt {

namespace {

// A server that answers does so in some thousandths of a second.
constexpr std::chrono::seconds kMaxWait{1};

// The number of a process on another machine means another one here.
bool isOfThisMachine(const DisplayConnection& display, xcb_window_t window)
{
    const std::string machine = display.text(window, XCB_ATOM_WM_CLIENT_MACHINE);
    return machine.empty() || machine == hostName();
}

// The first that the process has opened, of those under that root; XCB_WINDOW_NONE for none.
xcb_window_t windowOf(const DisplayConnection& display, xcb_window_t root, unsigned long processId)
{
    const xcb_atom_t idAtom = display.atom("_NET_WM_PID");
    const xcb_atom_t listAtom = display.atom("_NET_CLIENT_LIST");
    if (idAtom == XCB_ATOM_NONE || listAtom == XCB_ATOM_NONE)
        return XCB_WINDOW_NONE;
    for (const xcb_window_t window : display.numbers(root, listAtom, XCB_ATOM_WINDOW)) {
        const auto ids = display.numbers(window, idAtom, XCB_ATOM_CARDINAL);
        if (!ids.empty() && ids.front() == processId && isOfThisMachine(display, window))
            return window;
    }
    return XCB_WINDOW_NONE;
}

bool activate(const DisplayConnection& display, xcb_window_t root, xcb_window_t window)
{
    constexpr std::uint32_t kOnBehalfOfTheUser = 2; // an application's own wish may be refused
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = display.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = kOnBehalfOfTheUser;
    message.data.data32[1] = XCB_CURRENT_TIME;
    return message.type != XCB_ATOM_NONE && display.tell(root, message);
}

} // namespace

bool bringProcessToFront(unsigned long processId)
{
    const auto name = environmentVariable("DISPLAY");
    if (processId == 0 || !name || name->empty())
        return false;
    try {
        const DisplayLibrary library;
        if (!library.isThere())
            return false;
        const DisplayConnection display(
            library, *name, std::chrono::steady_clock::now() + kMaxWait);
        for (const xcb_window_t root : display.roots())
            if (const xcb_window_t window = windowOf(display, root, processId);
                window != XCB_WINDOW_NONE)
                return activate(display, root, window);
        return false;
    } catch (const std::exception&) {
        return false; // no thread, no memory: a window that stays where it is harms nobody
    }
}

} // namespace Pt
