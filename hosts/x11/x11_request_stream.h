#pragma once

#include "hosts/x11/x11_connection.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct xcb_record_range_t;

namespace vossel {

// The requests that other clients make of the X server, in the order in which it carries them out,
// each told before that. Also tells which clients came and went. Main thread only.
class X11RequestStream {
public:
    struct Requests {
        std::uint8_t major = 0;
        std::uint8_t firstMinor = 0; // both 0 for a request of the core protocol
        std::uint8_t lastMinor = 0;
    };
    enum class What : std::uint8_t { Request, ClientStarted, ClientDied };
    struct Record {
        What what = What::Request;
        std::uint32_t client = 0;
        std::uint32_t time = 0; // of the server's clock
        std::uint8_t major = 0;
        std::uint8_t data = 0; // the second byte: an extension's minor number
        const std::uint8_t* body = nullptr; // what follows the header
        std::size_t size = 0;
        bool swapped = false; // the client's byte order is not this machine's

        // Both return 0 beyond the end of the request.
        [[nodiscard]] std::uint8_t byteAt(std::size_t offset) const;
        [[nodiscard]] std::uint32_t wordAt(std::size_t offset) const;
    };
    using Handler = std::function<void(const Record&)>;

    // Starts the recording. `control` must outlive it.
    static Result<std::unique_ptr<X11RequestStream>> open(
        X11Connection& control, const char* displayName, const std::vector<Requests>& requests);

    [[nodiscard]] int descriptor() const { return data_->descriptor(); }
    // Hands over what has arrived, without waiting. False once nothing more will come.
    [[nodiscard]] bool read(const Handler& handler);
    // Whether so much lay unread that the server may have left requests out, which it does once it
    // cannot write. Told of the last reading.
    [[nodiscard]] bool mayHaveLost() const { return mayHaveLost_; }
    // Whether something arrived within so many milliseconds.
    [[nodiscard]] bool wait(int milliseconds) const;

private:
    explicit X11RequestStream(std::unique_ptr<X11Connection> data)
        : data_(std::move(data))
    {
    }
    bool awaitStart();
    // Returns false for the last reply of the recording.
    bool take(const void* reply, const Handler& handler);
    bool takeRequests(const void* reply, Record& record, const Handler& handler);
    void count(const void* reply);

    std::unique_ptr<X11Connection> data_;
    std::uint32_t context_ = 0;
    unsigned sequence_ = 0;
    std::size_t unread_ = 0; // at most, since there was nothing to read; in bytes of the kernel's
    bool mayHaveLost_ = false;
    bool started_ = false;
    bool ended_ = false;
    std::uint8_t recordMajor_ = 0;
};

}
