// The functions of the display's client library, which is looked for when it is needed: the bus
// runs where there is no display and no such library, and is not linked to it. One thread at a
// time.
#pragma once

#include <X11/Xauth.h>
#include <xcb/xcb.h>

namespace Pt {

class DisplayLibrary {
public:
    DisplayLibrary();
    ~DisplayLibrary();
    DisplayLibrary(const DisplayLibrary&) = delete;
    DisplayLibrary& operator=(const DisplayLibrary&) = delete;

    // Whether all of it was found; nothing may be called otherwise.
    bool isThere() const { return m_isThere; }

private:
    // Of the library, or of those that it stands on.
    template <typename Function>
    Function* find(const char* name)
    {
        return reinterpret_cast<Function*>(symbol(name));
    }
    void* symbol(const char* name);

    void* m_handle;
    bool m_isThere;

public:
    // NOLINTBEGIN(readability-identifier-naming): the library's own names
#define TEVORO_DISPLAY_CALL(name) decltype(::name)* const name = find<decltype(::name)>(#name)
    TEVORO_DISPLAY_CALL(XauDisposeAuth);
    TEVORO_DISPLAY_CALL(XauGetBestAuthByAddr);
    TEVORO_DISPLAY_CALL(xcb_connect_to_fd);
    TEVORO_DISPLAY_CALL(xcb_connection_has_error);
    TEVORO_DISPLAY_CALL(xcb_disconnect);
    TEVORO_DISPLAY_CALL(xcb_get_input_focus);
    TEVORO_DISPLAY_CALL(xcb_get_input_focus_reply);
    TEVORO_DISPLAY_CALL(xcb_get_property);
    TEVORO_DISPLAY_CALL(xcb_get_property_reply);
    TEVORO_DISPLAY_CALL(xcb_get_property_value);
    TEVORO_DISPLAY_CALL(xcb_get_property_value_length);
    TEVORO_DISPLAY_CALL(xcb_get_setup);
    TEVORO_DISPLAY_CALL(xcb_intern_atom);
    TEVORO_DISPLAY_CALL(xcb_intern_atom_reply);
    TEVORO_DISPLAY_CALL(xcb_parse_display);
    TEVORO_DISPLAY_CALL(xcb_screen_next);
    TEVORO_DISPLAY_CALL(xcb_send_event);
    TEVORO_DISPLAY_CALL(xcb_setup_roots_iterator);
#undef TEVORO_DISPLAY_CALL
    // NOLINTEND(readability-identifier-naming)
};

} // namespace Pt
