#pragma once

#include "foundation/files.h"
#include "platform/input_origins.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <xcb/xtest.h>

namespace vossel::test {

// A program of an ordinary user's that composes input as it is told.
class X11Poster {
public:
    struct Act {
        bool sent = false; // a finished event, else the server is asked to press
        std::uint8_t type = 0; // in case of a device, of its first event's numbering
        std::uint8_t detail = 0;
        std::uint8_t device = 0;
        std::uint32_t time = 0; // of a sent event, else the delay
        std::uint32_t window = 0; // of a sent event
        bool leaves = false; // at once, having let go
    };

    explicit X11Poster(const char* display)
    {
        int pipe[2];
        if (::pipe(pipe) != 0)
            throw std::runtime_error("no pipe");
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(pipe[1]);
            run(display, pipe[0]);
            ::_exit(0);
        }
        ::close(pipe[0]);
        acts_.reset(pipe[1]);
    }
    ~X11Poster()
    {
        acts_.reset();
        ::waitpid(pid_, nullptr, 0);
    }
    X11Poster(const X11Poster&) = delete;
    X11Poster& operator=(const X11Poster&) = delete;

    [[nodiscard]] EventSource source() const
    {
        return {pid_, ::getuid() == 0 ? ordinaryUser : ::getuid()};
    }
    void does(const Act& act) const
    {
        if (::write(acts_.get(), &act, sizeof act) != sizeof act)
            throw std::runtime_error("the poster is gone");
    }
    // Lets go at once of what it has had pressed.
    void strikes(Act act) const
    {
        does(act);
        if (act.sent || act.leaves)
            return;
        act.type++;
        act.time = 0;
        does(act);
    }

private:
    static constexpr std::uint32_t ordinaryUser = 1234;

    static void run(const char* display, int acts)
    {
        if (::getuid() == 0 && ::setresuid(ordinaryUser, ordinaryUser, ordinaryUser) != 0)
            ::_exit(1);
        // Of its own, not the test's: that would be taken along.
        xcb_connection_t* connection = xcb_connect(display, nullptr);
        Act act;
        while (::read(acts, &act, sizeof act) == sizeof act) {
            if (act.sent) {
                xcb_key_press_event_t event = {};
                event.response_type = act.type;
                event.detail = act.detail;
                event.time = act.time;
                event.event = act.window;
                xcb_send_event(connection, 0, act.window, 0, reinterpret_cast<const char*>(&event));
            } else {
                xcb_test_fake_input(
                    connection, act.type, act.detail, act.time, 0, 0, 0, act.device);
            }
            if (act.leaves && !act.sent)
                xcb_test_fake_input(connection, static_cast<std::uint8_t>(act.type + 1), act.detail,
                    0, 0, 0, 0, act.device);
            xcb_flush(connection);
            if (act.leaves) {
                // Else the server may drop what it has not read yet.
                std::free(xcb_get_input_focus_reply(
                    connection, xcb_get_input_focus(connection), nullptr));
                ::_exit(0);
            }
        }
        xcb_disconnect(connection);
    }

    pid_t pid_ = -1;
    UniqueFd acts_;
};

}
