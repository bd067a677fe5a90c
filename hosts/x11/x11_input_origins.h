#pragma once

#include "hosts/x11/x11_connection.h"
#include "hosts/x11/x11_forged_presses.h"
#include "hosts/x11/x11_request_stream.h"
#include "platform/descriptor_watch.h"
#include "platform/input_origins.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vossel {

// Knows which presses under X11 programs made, and whose programs. It owns its own connections to
// the server and what it recorded; it must not decide whether a press counts. It reads along when
// clients have the server forge input (XTEST) or send finished events. A press that cannot be
// judged, for the server does not answer or the recording has ended, counts as a program's
// (unnamedProgram). Root's programs are named with user 0, which the product treats like hardware.
// Main thread only; needs the main loop, so that requests do not pile up.
class X11InputOrigins final : public InputOrigins {
public:
    // Without a display's name it takes the one that the environment names. Fails without the
    // RECORD and X-Resource extensions.
    static Result<std::unique_ptr<X11InputOrigins>> create(
        WatchDescriptor watch, const char* displayName = nullptr);
    ~X11InputOrigins() override;

    [[nodiscard]] EventSource sourceOf(const Press& press) override;
    [[nodiscard]] Time now() override;

private:
    using Record = X11RequestStream::Record;
    using Poster = std::shared_ptr<EventSource>;
    struct Question {
        std::uint32_t client = 0;
        Poster poster;
        X11Connection::ProcessCookie cookie = {};
        std::uint32_t mark = 0; // the answer is good if the client is still there then
    };

    X11InputOrigins(std::unique_ptr<X11Connection> control, WatchDescriptor watch)
        : watch_(std::move(watch))
        , control_(std::move(control))
    {
    }
    Result<bool> start(const char* displayName);
    void makeWindow();
    void drain();
    [[nodiscard]] bool read();
    void loseTrack();
    void findTrackAgain(std::uint32_t mark, Time time);
    void end();
    void took(const Record& record);
    void tookForgery(const Record& record);
    void tookSentEvent(const Record& record);
    void clientDied(std::uint32_t client);
    [[nodiscard]] Poster posterOf(std::uint32_t client);
    // Sends a request that comes back in the recording: what it was taken after has been read then.
    void sendMark();
    [[nodiscard]] bool reachMark();
    void markPassed(std::uint32_t mark, Time time);
    void askForProcesses();

    const WatchDescriptor watch_;
    std::unique_ptr<X11Connection> control_;
    std::unique_ptr<X11RequestStream> stream_;
    std::shared_ptr<void> streamWatch_;
    std::shared_ptr<void> controlWatch_;
    std::uint32_t window_ = 0; // never shown
    std::uint8_t testMajor_ = 0;
    std::optional<X11Connection::Extension> input_;
    X11ForgedPresses presses_;
    std::map<std::uint32_t, Poster> clients_;
    std::vector<std::uint32_t> unasked_;
    std::vector<Question> questions_;
    std::uint32_t lastMark_ = 0;
    std::uint32_t passedMark_ = 0;
    Time passedTime_ = 0;
    // Since requests went by unseen, one of which may hold a key down; until all keys are up.
    bool offTrack_ = false;
    bool strangersAsked_ = false;
    std::uint32_t keysMark_ = 0;
    std::optional<xcb_query_keymap_cookie_t> keys_;
    bool ended_ = false;
};

}
