#include "hosts/desktop/qt_descriptor_watch.h"
#include "hosts/x11/x11_input_origins.h"
#include "support/x_server.h"
#include "x11/x11_poster.h"

#include <QCoreApplication>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <chrono>
#include <random>
#include <xcb/record.h>

namespace vossel {

// For gtest.
static void PrintTo(const EventSource& source, std::ostream* out)
{
    *out << "process " << source.processId << " of user " << source.userId;
}

}

namespace vossel::test {
namespace {

using Kind = InputOrigins::Kind;
using Press = InputOrigins::Press;
using Act = X11Poster::Act;
using namespace std::chrono_literals;

constexpr EventSource hardware{};

// A program with a window over the whole screen, which tells of the presses that reach it.
class PressedWindow {
public:
    explicit PressedWindow(const char* display)
        : connection_(std::move(*X11Connection::open(display)))
    {
        xcb_connection_t* connection = connection_->get();
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        id_ = xcb_generate_id(connection);
        const std::uint32_t values[]{1,
            XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS
                | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_ENTER_WINDOW
                | XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, id_, screen->root, 0, 0, 640, 480, 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
            XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection, id_);
        xcb_flush(connection);
    }

    [[nodiscard]] std::uint32_t id() const { return id_; }
    X11Owned<xcb_generic_event_t> next()
    {
        for (int waits = 0; waits < 100; ++waits) {
            if (X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())})
                return event;
            pollfd ready{connection_->descriptor(), POLLIN, 0};
            ::poll(&ready, 1, 100);
        }
        throw std::runtime_error("nothing happens");
    }
    Press nextPress(int later = 0)
    {
        for (;;) {
            const auto event = next();
            const int type = event->response_type & 0x7F;
            if (type != XCB_KEY_PRESS + later && type != XCB_BUTTON_PRESS + later)
                continue;
            const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
            sent_ = type != event->response_type;
            return {type < XCB_BUTTON_PRESS ? Kind::Key : Kind::Button, press.detail, press.time};
        }
    }
    // The next press of what is let go at once; nobody lets a sent one go.
    Press nextStroke()
    {
        const Press press = nextPress();
        if (!sent_)
            (void)nextPress(1);
        return press;
    }

private:
    std::unique_ptr<X11Connection> connection_;
    std::uint32_t id_ = 0;
    bool sent_ = false;
};

struct X11InputOriginsTest : testing::Test {
    int argc = 0;
    std::optional<QCoreApplication> application;
    std::optional<XServer::Cookie> cookie;
    std::optional<XServer> outer;
    std::optional<XServer> inner;
    std::unique_ptr<X11Connection> hand;
    std::unique_ptr<X11InputOrigins> origins;
    std::optional<PressedWindow> window;

    void SetUp() override
    {
        if (!isInPath("Xvfb") || !isInPath("Xephyr"))
            GTEST_SKIP() << "Xvfb or Xephyr is not installed";
        application.emplace(argc, nullptr);
        cookie.emplace();
        outer.emplace(*cookie, "Xvfb");
        inner.emplace(*cookie, "Xephyr", outer->display());
        hand = std::move(*X11Connection::open(outer->display()));
        auto created = X11InputOrigins::create(watchDescriptor, inner->display());
        ASSERT_TRUE(created) << created.reason();
        origins = std::move(*created);
        window.emplace(inner->display());
        // The outer server's input reaches the inner one once its pointer does.
        for (bool entered = false; !entered;) {
            xcb_test_fake_input(hand->get(), XCB_MOTION_NOTIFY, 0, 0, 0, 300, 200, 0);
            xcb_test_fake_input(hand->get(), XCB_MOTION_NOTIFY, 0, 0, 0, 301, 201, 0);
            xcb_flush(hand->get());
            entered = window->next()->response_type == XCB_ENTER_NOTIFY;
        }
    }

    void TearDown() override
    {
        origins.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void byHand(Kind kind, std::uint8_t detail)
    {
        // Within a millisecond of forged input nobody can tell.
        settle();
        const int press = kind == Kind::Key ? XCB_KEY_PRESS : XCB_BUTTON_PRESS;
        for (const int type : {press, press + 1})
            xcb_test_fake_input(
                hand->get(), static_cast<std::uint8_t>(type), detail, 0, 0, 0, 0, 0);
        xcb_flush(hand->get());
    }
    void settle() const
    {
        const auto before = origins->now();
        while (origins->now() - before < 2) { }
    }
    EventSource sourceOfNext() { return origins->sourceOf(window->nextStroke()); }
    void expectTrustInHand(Kind kind = Kind::Key)
    {
        byHand(kind, kind == Kind::Key ? 38 : 3);
        EXPECT_EQ(sourceOfNext(), hardware);
    }
    // Every press until that of the key 39, which ends the test's own presses.
    std::vector<Press> pressesUpTo39(const X11Poster& poster)
    {
        poster.strikes({false, XCB_KEY_PRESS, 39});
        std::vector<Press> presses;
        for (Press press = window->nextPress(); press.detail != 39; press = window->nextPress()) {
            EXPECT_EQ(origins->sourceOf(press), poster.source());
            presses.push_back(press);
        }
        (void)window->nextPress(1);
        return presses;
    }
};

TEST_F(X11InputOriginsTest, NamesWhoComposedAPress)
{
    const X11Poster one(inner->display());
    const X11Poster other(inner->display());
    const std::uint32_t to = window->id();
    const auto now = origins->now();
    const struct {
        const char* name;
        Act act;
    } rows[] = {
        {"a key", {false, XCB_KEY_PRESS, 38}},
        {"a key after a while", {false, XCB_KEY_PRESS, 39, 0, 60}},
        {"a button", {false, XCB_BUTTON_PRESS, 1}},
        {"a button after a while", {false, XCB_BUTTON_PRESS, 3, 0, 60}},
        {"a sent key", {true, XCB_KEY_PRESS, 38, 0, now, to}},
        {"a sent button", {true, XCB_BUTTON_PRESS, 1, 0, now + 500, to}},
        {"a sent button without time", {true, XCB_BUTTON_PRESS, 1, 0, XCB_CURRENT_TIME, to}},
    };
    expectTrustInHand();
    for (const auto& row : rows) {
        for (const X11Poster* poster : {&one, &other}) {
            SCOPED_TRACE(row.name);
            settle();
            poster->strikes(row.act);
            const Press press = window->nextStroke();
            EXPECT_EQ(press.detail, row.act.detail);
            QCoreApplication::processEvents();
            byHand(Kind::Button, 3);
            const Press later = window->nextStroke();
            EXPECT_EQ(origins->sourceOf(later), hardware);
            EXPECT_EQ(origins->sourceOf(press), poster->source());
        }
    }
}

TEST_F(X11InputOriginsTest, KnowsRepeatedKeysAndTheDevicesThatAProgramSpeaksFor)
{
    const X11Poster poster(inner->display());
    poster.does({false, XCB_KEY_PRESS, 38});
    const Press first = window->nextPress();
    while (window->nextPress().time - first.time < 100) { }
    poster.does({false, XCB_KEY_RELEASE, 38});
    (void)pressesUpTo39(poster);
    expectTrustInHand();

    const auto input
        = std::move(*X11Connection::open(inner->display()))->extension("XInputExtension");
    ASSERT_TRUE(input);
    const auto keyPress = static_cast<std::uint8_t>(input->firstEvent + 1);
    for (std::uint8_t device = 2; device < 10; device++)
        poster.strikes({false, keyPress, 38, device});
    // The server's device for forged keys, and the one of the outer server's keys.
    EXPECT_GE(pressesUpTo39(poster).size(), 2U);
    expectTrustInHand();
}

TEST_F(X11InputOriginsTest, ProgramsThatAreGoneAreProgramsStill)
{
    for (int i = 0; i < 40; i++) {
        const X11Poster poster(inner->display());
        Act act{false, XCB_KEY_PRESS, 38, 0, 0, 0, true};
        if (i % 2)
            act = {true, XCB_BUTTON_PRESS, 1, 0, origins->now(), window->id(), true};
        poster.strikes(act);
        EXPECT_THAT(sourceOfNext(), testing::AnyOf(poster.source(), unnamedProgram));
    }
}

// The server leaves requests out of a recording that is not read fast enough.
TEST_F(X11InputOriginsTest, AFloodOfPressesHidesNone)
{
    const auto flooder = std::move(*X11Connection::open(inner->display()));
    const auto forge = [&](int type, std::uint8_t detail) {
        xcb_test_fake_input(flooder->get(), static_cast<std::uint8_t>(type), detail, 0, 0, 0, 0, 0);
    };
    constexpr int count = 20'000;
    for (int i = 0; i < 2 * count; i++)
        forge(i % 2 ? XCB_BUTTON_RELEASE : XCB_BUTTON_PRESS, 1);
    forge(XCB_KEY_PRESS, 38);
    const X11Owned<xcb_get_input_focus_reply_t> taken(
        xcb_get_input_focus_reply(flooder->get(), xcb_get_input_focus(flooder->get()), nullptr));
    int trusted = 0;
    const auto judged = [&](const Press& press) {
        trusted += origins->sourceOf(press) == hardware;
        return press.kind;
    };
    for (int i = 0; i < count; i++)
        (void)judged(window->nextPress());
    for (int i = 0; i < 3; i++) // the key, and how it repeats
        EXPECT_EQ(judged(window->nextPress()), Kind::Key);
    forge(XCB_KEY_RELEASE, 38);
    forge(XCB_BUTTON_PRESS, 2);
    forge(XCB_BUTTON_RELEASE, 2);
    xcb_flush(flooder->get());
    while (judged(window->nextPress()) == Kind::Key) { }
    EXPECT_EQ(trusted, 0);
    expectTrustInHand(Kind::Button);
}

TEST_F(X11InputOriginsTest, NobodyIsTrustedOnceTheRecordingIsTamperedWith)
{
    const auto stranger = std::move(*X11Connection::open(inner->display()));
    const X11Owned<xcb_res_query_clients_reply_t> clients(xcb_res_query_clients_reply(
        stranger->get(), xcb_res_query_clients(stranger->get()), nullptr));
    ASSERT_TRUE(clients);
    for (auto client = xcb_res_query_clients_clients_iterator(clients.get()); client.rem > 0;
         xcb_res_client_next(&client)) {
        // A client's numbers are easily guessed.
        const std::uint32_t itself = stranger->clientBase();
        for (std::uint32_t guess = 0; guess < 8; guess++)
            xcb_record_register_clients(stranger->get(), client.data->resource_base + guess,
                XCB_RECORD_H_TYPE_FROM_CLIENT_TIME, 1, 0, &itself, nullptr);
    }
    xcb_test_fake_input(stranger->get(), XCB_KEY_PRESS, 38, 0, 0, 0, 0, 0);
    xcb_test_fake_input(stranger->get(), XCB_KEY_RELEASE, 38, 0, 0, 0, 0, 0);
    xcb_flush(stranger->get());
    EXPECT_EQ(sourceOfNext(), unnamedProgram);
    byHand(Kind::Key, 38);
    EXPECT_EQ(sourceOfNext(), unnamedProgram);
}

TEST_F(X11InputOriginsTest, OutlivesTheServer)
{
    inner->kill();
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(origins->sourceOf({Kind::Key, 38, 1}), unnamedProgram);
    EXPECT_EQ(origins->sourceOf({Kind::Key, 38, origins->now()}), unnamedProgram);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    EXPECT_FALSE(X11InputOrigins::create(watchDescriptor, inner->display()));
}

struct X11ForgedPressesTest : testing::Test {
    X11ForgedPresses presses;
    EventSource eve{7, 1000};
    X11ForgedPresses::Poster poster = std::make_shared<EventSource>(eve);

    std::optional<EventSource> at(InputOrigins::Time time, InputOrigins::Time now) const
    {
        return presses.find({Kind::Button, 1, time}, now);
    }
};

// Buttons and keys may be remapped by anyone; the clock comes around again after 50 days.
TEST_F(X11ForgedPressesTest, GoByTheTimeWhateverTheNumber)
{
    for (const InputOrigins::Time start : {1000U, 0xFFFFFFFEU}) {
        presses.pressed(Kind::Button, 9, 0, start, poster);
        presses.nothingSince(start + 5);
        presses.pressed(Kind::Key, 38, 0, start + 100, poster);
        presses.nothingSince(start + 101);
        presses.released(Kind::Key, 38, 4, start + 150); // of another device
        presses.released(Kind::Key, 38, 0, start + 200);
        for (const auto& [offset, source] : std::map<int, std::optional<EventSource>>{
                 {-1, std::nullopt}, {0, eve}, {5, eve}, {6, std::nullopt}, {99, std::nullopt},
                 {100, eve}, {199, eve}, {201, std::nullopt}, {301, unnamedProgram}})
            EXPECT_EQ(at(start + static_cast<unsigned>(offset), start + 300), source) << offset;
    }
}

TEST_F(X11ForgedPressesTest, AKeyIsHeldForeverOnceItsDeviceIsUnsure)
{
    presses.pressed(Kind::Key, 38, 0, 1000, poster);
    presses.devicesChanged();
    presses.released(Kind::Key, 38, 0, 1010);
    presses.nothingSince(1010);
    presses.forgetOld(100'000'000);
    EXPECT_EQ(at(100'000'000, 100'000'000), eve);
}

TEST_F(X11ForgedPressesTest, AFloodWashesNothingAway)
{
    presses.pressed(Kind::Button, 1, 0, 1000, poster);
    presses.sent(Kind::Button, 1, 1500, 1000, poster);
    for (std::size_t i = 0; i < 3 * X11ForgedPresses::capacity; i++)
        presses.sent(Kind::Key, 9, 90, 1001, poster);
    presses.nothingSince(1001);
    EXPECT_TRUE(at(1000, 2000));
    EXPECT_EQ(at(1500, 2000), unnamedProgram);
    EXPECT_EQ(at(1501, 2000), std::nullopt);
    presses.forgetOld(1501 + X11ForgedPresses::memory);
    EXPECT_EQ(at(1502 + X11ForgedPresses::memory, 1503 + X11ForgedPresses::memory), std::nullopt);
}

}

}
