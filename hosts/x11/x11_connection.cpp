#include "hosts/x11/x11_connection.h"

#include "foundation/text_format.h"

#include <cstdlib>
#include <string>

namespace vossel {

Result<std::unique_ptr<X11Connection>> X11Connection::open(const char* displayName)
{
    std::unique_ptr<X11Connection> opened(new X11Connection(xcb_connect(displayName, nullptr)));
    if (!opened->isLost())
        return opened;
    const char* name = displayName ? displayName : std::getenv("DISPLAY");
    return Failure{"cannot connect to the X server \"" + std::string(name ? name : "") + "\""};
}

X11Connection::~X11Connection()
{
    xcb_disconnect(connection_);
}

std::uint32_t X11Connection::clientBase() const
{
    const xcb_setup_t* setup = xcb_get_setup(connection_);
    return setup ? setup->resource_id_base : 0;
}

void X11Connection::discardEvents()
{
    while (X11Owned<xcb_generic_event_t>(xcb_poll_for_event(connection_))) { }
}

std::optional<X11Connection::Extension> X11Connection::extension(std::string_view name) const
{
    const auto cookie
        = xcb_query_extension(connection_, static_cast<std::uint16_t>(name.size()), name.data());
    const X11Owned<xcb_query_extension_reply_t> reply(
        xcb_query_extension_reply(connection_, cookie, nullptr));
    if (!reply || !reply->present)
        return std::nullopt;
    return Extension{reply->major_opcode, reply->first_event};
}

bool X11Connection::tellsProcesses() const
{
    if (!extension("X-Resource"))
        return false;
    const X11Owned<xcb_res_query_version_reply_t> reply(xcb_res_query_version_reply(
        connection_, xcb_res_query_version(connection_, 1, 2), nullptr));
    return reply
        && (reply->server_major > 1 || (reply->server_major == 1 && reply->server_minor >= 2));
}

X11Connection::ProcessCookie X11Connection::askForProcess(std::uint32_t clientBase)
{
    const xcb_res_client_id_spec_t which{clientBase, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids(connection_, 1, &which);
}

std::int32_t X11Connection::processOf(ProcessCookie cookie)
{
    const X11Owned<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(connection_, cookie, nullptr));
    if (!reply)
        return 0;
    for (auto id = xcb_res_query_client_ids_ids_iterator(reply.get()); id.rem > 0;
         xcb_res_client_id_value_next(&id)) {
        if ((id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0
            && xcb_res_client_id_value_value_length(id.data) >= 1)
            return static_cast<std::int32_t>(*xcb_res_client_id_value_value(id.data));
    }
    return 0;
}

}
