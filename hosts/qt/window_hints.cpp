#include "hosts/qt/window_hints.h"

#include <QGuiApplication>
#include <QWindow>

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

xcb_connection_t* connection()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* server, std::string_view name)
{
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(server,
        xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr);
    const xcb_atom_t found = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return found;
}

}

void showOnEveryWorkspace(QWindow& window)
{
    xcb_connection_t* server = connection();
    if (!server)
        return;
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
        atom(server, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1, &everyWorkspace);
}

void keepAbove(QWindow& window, bool above)
{
    xcb_connection_t* server = connection();
    if (!server)
        return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
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
