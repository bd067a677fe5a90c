#include "hosts/x11/window_hints.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <xcb/xcb.h>

namespace vossel {

namespace {

// Names and values are those of the Extended Window Manager Hints, 1.5.
constexpr std::uint32_t everyWorkspace = 0xFFFFFFFF;
constexpr std::uint32_t stateRemove = 0;
constexpr std::uint32_t stateAdd = 1;
constexpr std::uint32_t fromApplication = 1;

xcb_atom_t atom(xcb_connection_t* server, std::string_view name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(server,
        xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr);
    const xcb_atom_t found = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return found;
}

}

void showOnEveryWorkspace(xcb_connection_t* server, std::uint32_t window)
{
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, atom(server, "_NET_WM_DESKTOP"),
        XCB_ATOM_CARDINAL, 32, 1, &everyWorkspace);
}

void keepAbove(xcb_connection_t* server, std::uint32_t window, bool above)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom(server, "_NET_WM_STATE");
    message.data.data32[0] = above ? stateAdd : stateRemove;
    message.data.data32[1] = atom(server, "_NET_WM_STATE_ABOVE");
    message.data.data32[3] = fromApplication;
    const xcb_window_t root
        = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root; // of the only screen
    xcb_send_event(server, 0, root,
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&message));
    xcb_flush(server);
}

}
