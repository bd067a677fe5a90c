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
    // Null when none comes in time.
    X11Owned<xcb_generic_event_t> next()
    {
        const auto end = std::chrono::steady_clock::now() + 10s;
        for (;;) {
            if (X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())})
                return event;
            pollfd ready{connection_->descriptor(), POLLIN, 0};
            ::poll(&ready, 1, 100);
            if (std::chrono::steady_clock::now() > end)
                return nullptr;
        }
    }
    Press nextPress() { return take(XCB_KEY_PRESS, XCB_BUTTON_PRESS); }
    // Of what is let go at once.
    Press nextStroke()
    {
        const Press press = nextPress();
        if (!sent_)
            (void)take(XCB_KEY_RELEASE, XCB_BUTTON_RELEASE);
        return press;
    }

private:
    Press take(int keyType, int buttonType)
    {
        while (const auto event = next()) {
            const int type = event->response_type & 0x7F;
            if (type != keyType && type != buttonType)
                continue;
            const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
            sent_ = type != event->response_type;
            return {type == keyType ? Kind::Key : Kind::Button, press.detail, press.time};
        }
        throw std::runtime_error("nothing was pressed");
    }

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
            const auto event = window->next();
            ASSERT_TRUE(event);
            entered = event->response_type == XCB_ENTER_NOTIFY;
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
};

constexpr Act forgedKey(std::uint8_t detail, std::uint32_t delay = 0)
{
    return {false, XCB_KEY_PRESS, detail, 0, delay, 0, false};
}
constexpr Act released(Act act)
{
    act.type++;
    act.time = 0;
    return act;
}

TEST_F(X11InputOriginsTest, NamesWhoComposedAPress)
{
    const X11Poster poster(inner->display());
    const std::uint32_t to = window->id();
    const struct {
        const char* name;
        Act act;
    } rows[] = {
        {"a key", forgedKey(38)},
        {"a key after a while", forgedKey(39, 60)},
        {"a button", {false, XCB_BUTTON_PRESS, 1, 0, 0, 0, false}},
        {"a button after a while", {false, XCB_BUTTON_PRESS, 3, 0, 60, 0, false}},
        {"a sent key", {true, XCB_KEY_PRESS, 38, 0, origins->now(), to, false}},
        {"a sent button", {true, XCB_BUTTON_PRESS, 1, 0, origins->now() + 500, to, false}},
        {"a sent button without time", {true, XCB_BUTTON_PRESS, 1, 0, XCB_CURRENT_TIME, to, false}},
    };
    byHand(Kind::Key, 38);
    EXPECT_EQ(sourceOfNext(), hardware);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        poster.does(row.act);
        if (!row.act.sent)
            poster.does(released(row.act));
        const Press press = window->nextStroke();
        EXPECT_EQ(press.detail, row.act.detail);
        QCoreApplication::processEvents();
        EXPECT_EQ(origins->sourceOf(press), poster.source());
        byHand(Kind::Button, 3);
        EXPECT_EQ(sourceOfNext(), hardware);
    }
}

TEST_F(X11InputOriginsTest, KnowsTheDevicesThatAProgramSpeaksFor)
{
    const X11Poster poster(inner->display());
    const auto input
        = std::move(*X11Connection::open(inner->display()))->extension("XInputExtension");
    ASSERT_TRUE(input);
    const auto keyPress = static_cast<std::uint8_t>(input->firstEvent + 1);
    for (std::uint8_t device = 2; device < 10; device++) {
        Act press{false, keyPress, 38, device, 0, 0, false};
        poster.does(press);
        poster.does(released(press));
    }
    poster.does(forgedKey(39));
    poster.does(released(forgedKey(39)));
    int arrived = 0;
    for (Press press = window->nextPress(); press.detail != 39; press = window->nextPress()) {
        EXPECT_EQ(origins->sourceOf(press), poster.source());
        arrived++;
    }
    // The server's device for forged keys, and the one of the outer server's keys.
    EXPECT_GE(arrived, 2);
    byHand(Kind::Key, 38);
    EXPECT_EQ(sourceOfNext(), hardware);
}

TEST_F(X11InputOriginsTest, AForgedKeyRepeatsAsForged)
{
    const X11Poster poster(inner->display());
    poster.does(forgedKey(38));
    const Press first = window->nextPress();
    Press last;
    for (int i = 0; i < 3; i++) {
        last = window->nextPress();
        EXPECT_EQ(origins->sourceOf(last), poster.source());
    }
    EXPECT_GT(last.time - first.time, 100U);
    poster.does(released(forgedKey(38)));
    // What was still under way when the key was released.
    poster.does(forgedKey(39));
    poster.does(released(forgedKey(39)));
    for (Press press = window->nextPress(); press.detail != 39; press = window->nextPress())
        EXPECT_EQ(origins->sourceOf(press), poster.source());
    byHand(Kind::Key, 38);
    EXPECT_EQ(sourceOfNext(), hardware);
}

TEST_F(X11InputOriginsTest, MistakesNoneOfManyMixedPresses)
{
    const X11Poster one(inner->display());
    const X11Poster other(inner->display());
    std::mt19937 random(20);
    for (int batch = 0; batch < 50; batch++) {
        std::vector<std::pair<Press, EventSource>> presses;
        for (int i = 0; i < 10; i++) {
            const X11Poster& poster = random() % 2 ? one : other;
            const bool key = random() % 2;
            const auto detail
                = static_cast<std::uint8_t>(key ? 38 + random() % 4 : 1 + random() % 3);
            const std::uint8_t type = key ? XCB_KEY_PRESS : XCB_BUTTON_PRESS;
            Act act{random() % 4 == 0, type, detail, 0, 0, window->id(), false};
            const bool forged = random() % 2;
            settle();
            if (forged) {
                act.time = act.sent ? origins->now() : 0;
                poster.does(act);
                if (!act.sent)
                    poster.does(released(act));
            } else {
                byHand(key ? Kind::Key : Kind::Button, detail);
            }
            presses.emplace_back(window->nextStroke(), forged ? poster.source() : hardware);
            EXPECT_EQ(presses.back().first.detail, detail);
        }
        for (const auto& [press, source] : presses)
            EXPECT_EQ(origins->sourceOf(press), source);
    }
}

TEST_F(X11InputOriginsTest, ProgramsThatAreGoneAreProgramsStill)
{
    int named = 0;
    for (int i = 0; i < 40; i++) {
        const X11Poster poster(inner->display());
        Act act = forgedKey(38);
        if (i % 2)
            act = {true, XCB_BUTTON_PRESS, 1, 0, origins->now(), window->id(), false};
        act.leaves = true;
        poster.does(act);
        const EventSource source = sourceOfNext();
        EXPECT_THAT(source, testing::AnyOf(poster.source(), unnamedProgram));
        named += source == poster.source();
    }
    RecordProperty("named", named);
}

// The server leaves requests out of a recording that is not read fast enough.
TEST_F(X11InputOriginsTest, AFloodOfPressesHidesNone)
{
    const auto flooder = std::move(*X11Connection::open(inner->display()));
    constexpr int count = 20'000;
    for (int i = 0; i < count; i++)
        for (const int type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE})
            xcb_test_fake_input(flooder->get(), static_cast<std::uint8_t>(type), 1, 0, 0, 0, 0, 0);
    xcb_test_fake_input(flooder->get(), XCB_KEY_PRESS, 38, 0, 0, 0, 0, 0);
    const X11Owned<xcb_get_input_focus_reply_t> taken(
        xcb_get_input_focus_reply(flooder->get(), xcb_get_input_focus(flooder->get()), nullptr));
    int trusted = 0;
    Press press;
    for (int i = 0; i < count + 3; i++) { // the key, and how it repeats
        press = window->nextPress();
        trusted += origins->sourceOf(press) == hardware;
    }
    EXPECT_EQ(press.kind, Kind::Key);
    EXPECT_EQ(trusted, 0);
    xcb_test_fake_input(flooder->get(), XCB_KEY_RELEASE, 38, 0, 0, 0, 0, 0);
    xcb_test_fake_input(flooder->get(), XCB_BUTTON_PRESS, 2, 0, 0, 0, 0, 0);
    xcb_test_fake_input(flooder->get(), XCB_BUTTON_RELEASE, 2, 0, 0, 0, 0, 0);
    xcb_flush(flooder->get());
    for (press = window->nextPress(); press.kind == Kind::Key; press = window->nextPress())
        EXPECT_NE(origins->sourceOf(press), hardware);
    EXPECT_NE(origins->sourceOf(press), hardware);
    byHand(Kind::Button, 1);
    EXPECT_EQ(sourceOfNext(), hardware);
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
