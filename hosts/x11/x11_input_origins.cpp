#include "hosts/x11/x11_input_origins.h"

#include "foundation/files.h"
#include "foundation/log.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstring>
#include <string>
#include <time.h>

namespace vossel {

namespace {

constexpr std::uint8_t fakeInput = 2; // of XTEST
constexpr std::uint8_t changeHierarchy = 43; // of the input extension
constexpr std::uint8_t setClientPointer = 44;
// An older numbering of presses on a device, from the extension's first event.
constexpr std::uint8_t deviceKeyPress = 1;
constexpr std::uint8_t deviceKeyRelease = 2;
constexpr std::uint8_t deviceButtonPress = 3;
constexpr std::uint8_t sentMark = 0x80;
// Of the requests' bodies.
constexpr std::size_t forgedDetail = 1;
constexpr std::size_t forgedTime = 4;
constexpr std::size_t forgedDevice = 31;
constexpr std::size_t sentEvent = 8;
constexpr std::size_t markSerial = sentEvent + 12;

constexpr std::chrono::milliseconds patience{500};
using Steady = std::chrono::steady_clock;

// The real user, for a set-user-id program is still its caller's.
std::uint32_t userOf(std::int32_t pid)
{
    const auto status = readFile("/proc/" + std::to_string(pid) + "/status", 1 << 16);
    constexpr std::string_view title = "\nUid:\t";
    const auto at = status ? status->find(title) : std::string::npos;
    std::uint32_t user = unnamedProgram.userId;
    if (at != std::string::npos)
        std::from_chars(status->data() + at + title.size(), status->data() + status->size(), user);
    return user;
}

// What the server on this machine tells the time by.
InputOrigins::Time machineTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<InputOrigins::Time>(time.tv_sec * 1000 + time.tv_nsec / 1000000);
}

bool waitFor(int fd, Steady::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Steady::now()).count();
    pollfd ready{fd, POLLIN, 0};
    return left > 0 && ::poll(&ready, 1, static_cast<int>(left)) > 0;
}

}

Result<std::unique_ptr<X11InputOrigins>> X11InputOrigins::create(
    WatchDescriptor watch, const char* displayName)
{
    auto control = X11Connection::open(displayName);
    if (!control)
        return Failure{control.reason()};
    std::unique_ptr<X11InputOrigins> origins(
        new X11InputOrigins(std::move(*control), std::move(watch)));
    const Result<bool> started = origins->start(displayName);
    if (!started)
        return Failure{started.reason()};
    return origins;
}

X11InputOrigins::~X11InputOrigins() = default;

Result<bool> X11InputOrigins::start(const char* displayName)
{
    if (!control_->tellsProcesses())
        return Failure{"the X server does not tell the processes of its clients"};
    makeWindow();
    input_ = control_->extension("XInputExtension");
    std::vector<X11RequestStream::Requests> requests{{XCB_SEND_EVENT}};
    if (const auto test = control_->extension("XTEST")) {
        testMajor_ = test->major;
        requests.push_back({testMajor_, fakeInput, fakeInput});
    }
    if (input_)
        requests.push_back({input_->major, changeHierarchy, setClientPointer});
    auto stream = X11RequestStream::open(*control_, displayName, requests);
    if (!stream)
        return Failure{stream.reason()};
    stream_ = std::move(*stream);
    if (!reachMark())
        return Failure{"the X server does not record requests"};
    streamWatch_ = watch_(stream_->descriptor(), [this] { drain(); });
    // Strangers may change the window's properties.
    controlWatch_ = watch_(control_->descriptor(), [this] {
        control_->discardEvents();
        if (control_->isLost())
            end();
    });
    return true;
}

void X11InputOrigins::makeWindow()
{
    xcb_connection_t* connection = control_->get();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    window_ = xcb_generate_id(connection);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection, 0, window_, screen->root, -1, -1, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
}

EventSource X11InputOrigins::sourceOf(const Press& press)
{
    bool known = reachMark();
    // A client that was met just now, or whether keys are held.
    if (known && (offTrack_ || !questions_.empty()))
        known = reachMark();
    if (!known || offTrack_)
        return unnamedProgram;
    presses_.forgetOld(passedTime_);
    return presses_.find(press, passedTime_).value_or(EventSource{});
}

InputOrigins::Time X11InputOrigins::now()
{
    xcb_connection_t* connection = control_->get();
    control_->discardEvents();
    const auto change = xcb_change_property(connection, XCB_PROP_MODE_APPEND, window_,
        XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection);
    const auto end = Steady::now() + patience;
    do {
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            if (event->response_type == XCB_PROPERTY_NOTIFY
                && event->full_sequence - change.sequence < 0x80000000U)
                return reinterpret_cast<xcb_property_notify_event_t&>(*event).time;
        }
    } while (!control_->isLost() && waitFor(control_->descriptor(), end));
    return machineTime();
}

void X11InputOrigins::drain()
{
    strangersAsked_ = false;
    if (!read())
        end();
    else if (!unasked_.empty() || presses_.waitsForNext() || (offTrack_ && strangersAsked_))
        sendMark();
}

bool X11InputOrigins::read()
{
    const bool goesOn = stream_->read([this](const Record& record) { took(record); });
    if (goesOn && stream_->mayHaveLost())
        loseTrack();
    return goesOn;
}

void X11InputOrigins::loseTrack()
{
    if (!offTrack_)
        logText("more input is forged than can be followed: every press counts as forged");
    offTrack_ = true;
    strangersAsked_ = true;
    // Their numbers may be others' by now.
    clients_.clear();
    unasked_.clear();
    for (Question& question : questions_)
        question.poster.reset();
}

void X11InputOrigins::findTrackAgain(std::uint32_t mark, Time time)
{
    if (!keys_ || mark != keysMark_)
        return;
    const X11Owned<xcb_query_keymap_reply_t> reply(
        xcb_query_keymap_reply(control_->get(), *keys_, nullptr));
    keys_.reset();
    if (!reply || std::any_of(std::begin(reply->keys), std::end(reply->keys), [](auto eight) {
            return eight != 0;
        }))
        return;
    presses_.lostUntil(time);
    offTrack_ = false;
}

void X11InputOrigins::end()
{
    streamWatch_.reset();
    controlWatch_.reset();
    if (!ended_)
        logText("the X server no longer tells who forges input: every press counts as forged");
    ended_ = true;
}

void X11InputOrigins::took(const Record& record)
{
    if (record.what == X11RequestStream::What::ClientStarted) {
        presses_.nothingSince(record.time);
        clientDied(record.client); // its number's last owner, if that was missed
        if (record.client != control_->clientBase())
            (void)posterOf(record.client);
        return;
    }
    presses_.nothingSince(record.time);
    if (record.client != control_->clientBase())
        strangersAsked_ = true;
    if (record.what == X11RequestStream::What::ClientDied)
        clientDied(record.client);
    else if (record.major == XCB_SEND_EVENT && record.client == control_->clientBase())
        markPassed(record.wordAt(markSerial), record.time);
    else if (record.major == XCB_SEND_EVENT)
        tookSentEvent(record);
    else if (record.major == testMajor_)
        tookForgery(record);
    else
        presses_.devicesChanged();
}

void X11InputOrigins::tookForgery(const Record& record)
{
    // A request with a delay is taken again, without it, when that is over.
    if (record.wordAt(forgedTime) != 0)
        return;
    const auto type = static_cast<std::uint8_t>(record.byteAt(0) & ~sentMark);
    const std::uint8_t detail = record.byteAt(forgedDetail);
    if (type == XCB_KEY_PRESS)
        presses_.pressed(Kind::Key, detail, 0, record.time, posterOf(record.client));
    else if (type == XCB_BUTTON_PRESS)
        presses_.pressed(Kind::Button, detail, 0, record.time, posterOf(record.client));
    else if (type == XCB_KEY_RELEASE)
        presses_.released(Kind::Key, detail, 0, record.time);
    if (!input_ || type < input_->firstEvent)
        return;
    const auto device = static_cast<std::uint8_t>(record.byteAt(forgedDevice) & ~sentMark);
    const int number = type - input_->firstEvent;
    if (number == deviceKeyPress)
        presses_.pressed(Kind::Key, detail, device, record.time, posterOf(record.client));
    else if (number == deviceButtonPress)
        presses_.pressed(Kind::Button, detail, device, record.time, posterOf(record.client));
    else if (number == deviceKeyRelease)
        presses_.released(Kind::Key, detail, device, record.time);
}

void X11InputOrigins::tookSentEvent(const Record& record)
{
    const int type = record.byteAt(sentEvent) & ~sentMark;
    if (type != XCB_KEY_PRESS && type != XCB_BUTTON_PRESS)
        return;
    presses_.sent(type == XCB_KEY_PRESS ? Kind::Key : Kind::Button, record.byteAt(sentEvent + 1),
        record.wordAt(sentEvent + 4), record.time, posterOf(record.client));
}

void X11InputOrigins::clientDied(std::uint32_t client)
{
    clients_.erase(client);
    unasked_.erase(std::remove(unasked_.begin(), unasked_.end(), client), unasked_.end());
    // The answer may be about the number's next owner.
    for (Question& question : questions_) {
        if (question.client == client)
            question.poster.reset();
    }
}

X11InputOrigins::Poster X11InputOrigins::posterOf(std::uint32_t client)
{
    Poster& poster = clients_[client];
    if (!poster) {
        poster = std::make_shared<EventSource>(unnamedProgram);
        unasked_.push_back(client);
    }
    return poster;
}

void X11InputOrigins::askForProcesses()
{
    for (const std::uint32_t client : unasked_)
        questions_.push_back(
            {client, clients_.at(client), control_->askForProcess(client), lastMark_});
    unasked_.clear();
}

void X11InputOrigins::sendMark()
{
    lastMark_++;
    askForProcesses();
    if (keys_)
        xcb_discard_reply(control_->get(), keys_->sequence);
    keys_.reset();
    if (offTrack_) {
        keysMark_ = lastMark_;
        keys_ = xcb_query_keymap(control_->get());
    }
    xcb_client_message_event_t mark = {};
    mark.response_type = XCB_CLIENT_MESSAGE;
    mark.format = 32;
    mark.window = window_;
    mark.type = XCB_ATOM_INTEGER;
    mark.data.data32[0] = lastMark_;
    // Of a kind that this window does not select: nobody gets it.
    xcb_send_event(control_->get(), 0, window_, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&mark));
    // The server keeps what it has recorded until it has something to tell anyone.
    xcb_discard_reply(control_->get(), xcb_get_input_focus(control_->get()).sequence);
    xcb_flush(control_->get());
}

bool X11InputOrigins::reachMark()
{
    if (ended_)
        return false;
    sendMark();
    const std::uint32_t mark = lastMark_;
    const auto limit = Steady::now() + patience;
    const auto reached = [&] { return passedMark_ - mark < 0x80000000U; };
    for (;;) {
        if (!read() || control_->isLost()) {
            end();
            return false;
        }
        if (reached())
            break;
        if (!waitFor(stream_->descriptor(), limit))
            return false;
    }
    if (!unasked_.empty())
        sendMark();
    return true;
}

void X11InputOrigins::markPassed(std::uint32_t mark, Time time)
{
    passedMark_ = mark;
    passedTime_ = time;
    findTrackAgain(mark, time);
    // The server has answered them before it took the mark.
    const auto answered = [&](Question& question) {
        if (mark - question.mark >= 0x80000000U)
            return false;
        const std::int32_t pid = control_->processOf(question.cookie);
        if (question.poster && pid > 0)
            *question.poster = {pid, userOf(pid)};
        return true;
    };
    questions_.erase(
        std::remove_if(questions_.begin(), questions_.end(), answered), questions_.end());
}

}
