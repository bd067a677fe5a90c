#pragma once

#include "foundation/files.h"
#include "foundation/result.h"

#include <sys/ioctl.h>
#include <termios.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

struct TerminalSize {
    int columns = 80;
    int rows = 24;

    bool operator==(const TerminalSize&) const = default;
};

// A terminal that was opened for asking: keys in, screen out, its line discipline taken over and
// given back. Nothing here waits longer than a terminal needs that is held up. Main thread, but for
// vanished().
class TerminalDevice {
public:
    // Fails with the reason when it cannot be opened for both ways or is no terminal. It does not
    // become this process's controlling terminal.
    static Result<TerminalDevice> open(const std::string& path);

    TerminalDevice(TerminalDevice&&) = default;
    TerminalDevice& operator=(TerminalDevice&&) = delete;
    ~TerminalDevice() { endResize(); }

    [[nodiscard]] int descriptor() const { return fd_.get(); }
    // The st_rdev of stat(2) for "/dev/pts/N": the same for every name that the terminal has.
    [[nodiscard]] std::uint64_t number() const { return number_; }
    // The owner of its file.
    [[nodiscard]] std::uint32_t owner() const { return owner_; }
    // 80 by 24 where the terminal does not say.
    [[nodiscard]] TerminalSize size() const;
    // Whether it is gone: hung up, its other side closed. Any thread.
    [[nodiscard]] bool vanished() const;

    // Whether a program has taken its line editing off: it draws on the whole screen itself.
    [[nodiscard]] bool isTakenOver() const;
    // From now on every key comes at once, none is a signal, and none is echoed. False when the
    // system refuses.
    [[nodiscard]] bool takeOver();
    // Sets the mode that takeOver() found, unless somebody else has set another since.
    void giveBack();

    // The bytes that have come; empty for none. False when the terminal is gone.
    [[nodiscard]] bool read(std::string& bytes);
    // Sends what the terminal takes at once, keeps the rest for later calls, and is silent about a
    // terminal that is gone. False while something is kept.
    bool write(std::string_view bytes);
    // Sends what is kept; waits half a second at most.
    void drain();

    // Has the programs on the terminal draw their screen again: they are told of a row less, and
    // then of that row coming back.
    void beginResize();
    void endResize();

private:
    TerminalDevice(UniqueFd fd, std::uint64_t number, std::uint32_t owner)
        : fd_(std::move(fd))
        , number_(number)
        , owner_(owner)
    {
    }

    UniqueFd fd_;
    std::uint64_t number_;
    std::uint32_t owner_;
    std::optional<termios> found_; // while taken over: the mode before
    termios set_{}; // while taken over: the mode since
    std::optional<winsize> resized_; // between beginResize() and endResize(): the size before
    std::string kept_; // to be written yet
};

}
