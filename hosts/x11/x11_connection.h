#pragma once

#include "foundation/result.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <xcb/res.h>
#include <xcb/xcb.h>

namespace vossel {

struct X11Free {
    void operator()(void* memory) const { std::free(memory); }
};
// What libxcb hands out with malloc: replies, events, errors.
template <class T>
using X11Owned = std::unique_ptr<T, X11Free>;

// A connection to the X server of the agent's own, beside the one that shows its windows. Main
// thread only.
class X11Connection {
public:
    struct Extension {
        std::uint8_t major = 0; // of its requests
        std::uint8_t firstEvent = 0;
    };
    using ProcessCookie = xcb_res_query_client_ids_cookie_t;

    // A null name stands for the display that the environment names.
    static Result<std::unique_ptr<X11Connection>> open(const char* displayName);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    [[nodiscard]] xcb_connection_t* get() const { return connection_; }
    [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(connection_); }
    [[nodiscard]] bool isLost() const { return xcb_connection_has_error(connection_) != 0; }
    // The number that this client's resources begin with, by which the server names clients.
    [[nodiscard]] std::uint32_t clientBase() const;
    void discardEvents();

    [[nodiscard]] std::optional<Extension> extension(std::string_view name) const;
    // Whether the server tells the processes of its clients.
    [[nodiscard]] bool tellsProcesses() const;
    // Two steps, for the answer may be awaited by other means. The server goes by the process that
    // connected; 0 for a client that is gone or sits on another machine.
    [[nodiscard]] ProcessCookie askForProcess(std::uint32_t clientBase);
    [[nodiscard]] std::int32_t processOf(ProcessCookie cookie);

private:
    explicit X11Connection(xcb_connection_t* connection)
        : connection_(connection)
    {
    }

    xcb_connection_t* connection_;
};

}
