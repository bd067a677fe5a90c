#include "hosts/x11/x11_request_stream.h"

#include <poll.h>

#include <chrono>
#include <cstring>
#include <xcb/record.h>
#include <xcb/xcbext.h>

namespace vossel {

namespace {

constexpr std::uint8_t registerClients = 2;
constexpr std::uint8_t unregisterClients = 3;
constexpr std::uint8_t fromClient = 1;
constexpr std::uint8_t clientStarted = 2;
constexpr std::uint8_t clientDied = 3;
constexpr std::uint8_t startOfData = 4;
constexpr std::uint8_t endOfData = 5;
constexpr std::size_t timeSize = 4; // stands before each request
constexpr std::size_t headerSize = 4;
constexpr std::size_t bigHeaderSize = 8;
// So that a client that never stops asking cannot keep the main loop.
constexpr int readsAtOnce = 64;
// By default a socket takes 212992 bytes, the kernel's own for each piece and its roundings
// included.
constexpr std::size_t safeUnread = 100'000;
constexpr std::size_t kernelBytes = 768;
constexpr std::chrono::seconds patience{2};

std::uint32_t word(const std::uint8_t* bytes, bool swapped)
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return swapped ? __builtin_bswap32(value) : value;
}

xcb_record_range_t rangeOf(const X11RequestStream::Requests& requests)
{
    xcb_record_range_t range = {};
    range.client_started = 1;
    range.client_died = 1;
    if (requests.firstMinor == 0) {
        range.core_requests = {requests.major, requests.major};
    } else {
        range.ext_requests.major = {requests.major, requests.major};
        range.ext_requests.minor = {requests.firstMinor, requests.lastMinor};
    }
    return range;
}

}

std::uint8_t X11RequestStream::Record::byteAt(std::size_t offset) const
{
    return offset < size ? body[offset] : std::uint8_t{0};
}

std::uint32_t X11RequestStream::Record::wordAt(std::size_t offset) const
{
    return size >= 4 && offset <= size - 4 ? word(body + offset, swapped) : 0;
}

Result<std::unique_ptr<X11RequestStream>> X11RequestStream::open(
    X11Connection& control, const char* displayName, const std::vector<Requests>& requests)
{
    const auto record = control.extension("RECORD");
    if (!record)
        return Failure{"the X server has no RECORD extension"};
    auto data = X11Connection::open(displayName);
    if (!data)
        return Failure{data.reason()};
    std::unique_ptr<X11RequestStream> stream(new X11RequestStream(std::move(*data)));
    stream->recordMajor_ = record->major;
    std::vector<xcb_record_range_t> ranges;
    ranges.reserve(requests.size() + 1);
    for (const Requests& some : requests)
        ranges.push_back(rangeOf(some));
    ranges.push_back(rangeOf({record->major, registerClients, unregisterClients}));
    // This context is the control connection's: who is recorded is whoever does not read the data.
    xcb_connection_t* connection = control.get();
    stream->context_ = xcb_generate_id(connection);
    const xcb_record_client_spec_t everybody = XCB_RECORD_CS_ALL_CLIENTS;
    const auto created = xcb_record_create_context_checked(connection, stream->context_,
        XCB_RECORD_H_TYPE_FROM_CLIENT_TIME, 1, static_cast<std::uint32_t>(ranges.size()),
        &everybody, ranges.data());
    const X11Owned<xcb_generic_error_t> error(xcb_request_check(connection, created));
    if (error)
        return Failure{"the X server refuses to record requests"};
    stream->sequence_ = xcb_record_enable_context(stream->data_->get(), stream->context_).sequence;
    xcb_flush(stream->data_->get());
    if (!stream->awaitStart())
        return Failure{"the X server does not begin to record requests"};
    return stream;
}

bool X11RequestStream::awaitStart()
{
    const auto end = std::chrono::steady_clock::now() + patience;
    const Handler ignore = [](const Record&) {};
    while (read(ignore)) {
        if (started_)
            return true;
        if (std::chrono::steady_clock::now() > end)
            return false;
        (void)wait(10);
    }
    return false;
}

bool X11RequestStream::wait(int milliseconds) const
{
    pollfd ready{descriptor(), POLLIN, 0};
    return ::poll(&ready, 1, milliseconds) > 0;
}

bool X11RequestStream::read(const Handler& handler)
{
    mayHaveLost_ = false;
    for (int i = 0; i < readsAtOnce && !ended_; i++) {
        // Takes bytes from the socket; there are no events on this connection but strangers'.
        while (X11Owned<xcb_generic_event_t>(xcb_poll_for_event(data_->get()))) { }
        bool any = false;
        void* memory = nullptr;
        while (!ended_ && xcb_poll_for_reply(data_->get(), sequence_, &memory, nullptr) != 0) {
            const X11Owned<void> reply(memory);
            any = true;
            if (reply)
                count(reply.get());
            if (!reply || !take(reply.get(), handler))
                ended_ = true;
        }
        if (data_->isLost())
            ended_ = true;
        // Else half a reply is there.
        if (!any && !wait(0)) {
            unread_ = 0;
            break;
        }
    }
    return !ended_;
}

void X11RequestStream::count(const void* memory)
{
    const auto* reply = static_cast<const xcb_record_enable_context_reply_t*>(memory);
    unread_ += kernelBytes + 2 * (sizeof *reply + std::size_t{reply->length} * 4);
    mayHaveLost_ = mayHaveLost_ || unread_ > safeUnread;
}

bool X11RequestStream::take(const void* memory, const Handler& handler)
{
    const auto* reply = static_cast<const xcb_record_enable_context_reply_t*>(memory);
    Record record;
    record.client = reply->xid_base;
    record.time = reply->server_time;
    record.swapped = reply->client_swapped != 0;
    switch (reply->category) {
    case startOfData:
        started_ = true;
        return true;
    case endOfData:
        return false;
    case clientStarted:
    case clientDied:
        record.what = reply->category == clientDied ? What::ClientDied : What::ClientStarted;
        handler(record);
        return true;
    case fromClient:
        return takeRequests(reply, record, handler);
    default:
        return true;
    }
}

bool X11RequestStream::takeRequests(const void* memory, Record& record, const Handler& handler)
{
    const auto* reply = static_cast<const xcb_record_enable_context_reply_t*>(memory);
    const std::uint8_t* bytes = xcb_record_enable_context_data(reply);
    std::size_t left = std::size_t{reply->length} * 4;
    while (left >= timeSize + headerSize) {
        record.time = word(bytes, false);
        bytes += timeSize;
        left -= timeSize;
        record.major = bytes[0];
        record.data = bytes[1];
        std::size_t header = headerSize;
        std::uint16_t units = 0;
        std::memcpy(&units, bytes + 2, sizeof units);
        std::size_t size = 4 * std::size_t{record.swapped ? __builtin_bswap16(units) : units};
        if (size == 0 && left >= bigHeaderSize) {
            header = bigHeaderSize;
            size = 4 * std::size_t{word(bytes + headerSize, record.swapped)};
        }
        if (size < header || size > left)
            return false;
        record.body = bytes + header;
        record.size = size - header;
        // Any client may change what is recorded of itself, and would be trusted from then on.
        if (record.major == recordMajor_ && record.wordAt(0) == context_)
            return false;
        handler(record);
        bytes += size;
        left -= size;
    }
    return true;
}

}
