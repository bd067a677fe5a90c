#include "frontends/terminal/terminal_device.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstring>
#include <string.h>
#include <thread>
#include <utility>

namespace vossel {

namespace {

constexpr std::chrono::milliseconds maxDrain{500};
// A terminal that is held up (with Control-S, say) is not written to for ever.
constexpr std::size_t maxKept = std::size_t{256} * 1024;

bool sameMode(const termios& one, const termios& other)
{
    return one.c_iflag == other.c_iflag && one.c_oflag == other.c_oflag
        && one.c_lflag == other.c_lflag && one.c_cflag == other.c_cflag
        && std::memcmp(one.c_cc, other.c_cc, sizeof one.c_cc) == 0;
}

// The kernel packs a minor number of 20 bits around a major number of 12.
std::uint64_t deviceNumber(std::uint32_t encoded)
{
    return makedev((encoded >> 8) & 0xFFF, (encoded & 0xFF) | ((encoded >> 12) & 0xFFF00));
}

}

Result<TerminalDevice> TerminalDevice::open(const std::string& path)
{
    UniqueFd fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    if (!fd)
        return Failure{path + ": " + errorText(errno)};
    // The file may be another name of the terminal's, "/dev/tty": the kernel knows which it is.
    std::uint32_t device = 0;
    struct stat file = {};
    if (::ioctl(fd.get(), TIOCGDEV, &device) != 0 || ::fstat(fd.get(), &file) != 0)
        return Failure{path + " is no terminal: " + errorText(errno)};
    return TerminalDevice(std::move(fd), deviceNumber(device), file.st_uid);
}

TerminalSize TerminalDevice::size() const
{
    winsize size{};
    if (::ioctl(fd_.get(), TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return {};
    return {size.ws_col, size.ws_row};
}

bool TerminalDevice::vanished() const
{
    pollfd terminal{fd_.get(), POLLIN, 0};
    return ::poll(&terminal, 1, 0) > 0 && (terminal.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

bool TerminalDevice::isTakenOver() const
{
    termios mode{};
    return ::tcgetattr(fd_.get(), &mode) == 0 && (mode.c_lflag & ICANON) == 0;
}

bool TerminalDevice::takeOver()
{
    termios found{};
    if (found_ || ::tcgetattr(fd_.get(), &found) != 0)
        return found_.has_value();
    termios mode = found;
    ::cfmakeraw(&mode);
    mode.c_oflag = found.c_oflag; // programs that write meanwhile write as they are used to
    mode.c_cflag = found.c_cflag;
    if (::tcsetattr(fd_.get(), TCSANOW, &mode) != 0 || ::tcgetattr(fd_.get(), &set_) != 0)
        return false;
    found_ = found;
    return true;
}

void TerminalDevice::giveBack()
{
    const auto found = std::exchange(found_, std::nullopt);
    termios now{};
    if (found && ::tcgetattr(fd_.get(), &now) == 0 && sameMode(now, set_))
        ::tcsetattr(fd_.get(), TCSANOW, &*found);
}

bool TerminalDevice::read(std::string& bytes)
{
    std::array<char, 4096> buffer;
    bytes.clear();
    for (;;) {
        const ssize_t count = ::read(fd_.get(), buffer.data(), buffer.size());
        if (count > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
            ::explicit_bzero(buffer.data(), static_cast<std::size_t>(count)); // maybe a password
            if (static_cast<std::size_t>(count) < buffer.size())
                return true;
        } else if (count == 0) {
            return false;
        } else if (errno != EINTR) {
            return errno == EAGAIN;
        }
    }
}

bool TerminalDevice::write(std::string_view bytes)
{
    if (kept_.size() + bytes.size() > maxKept)
        return false;
    kept_ += bytes;
    while (!kept_.empty()) {
        const ssize_t count = ::write(fd_.get(), kept_.data(), kept_.size());
        if (count > 0)
            kept_.erase(0, static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            return false;
        else if (errno != EINTR)
            kept_.clear();
    }
    return true;
}

void TerminalDevice::drain()
{
    const auto end = std::chrono::steady_clock::now() + maxDrain;
    while (!write({}) && std::chrono::steady_clock::now() < end) {
        pollfd terminal{fd_.get(), POLLOUT, 0};
        // It may take bytes and yet not ours: while another program is writing.
        if (::poll(&terminal, 1, 50) > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void TerminalDevice::beginResize()
{
    winsize size{};
    if (::ioctl(fd_.get(), TIOCGWINSZ, &size) != 0 || size.ws_row < 2)
        return;
    resized_ = size;
    --size.ws_row;
    (void)::ioctl(fd_.get(), TIOCSWINSZ, &size);
}

// The size goes back unless somebody has changed it since.
void TerminalDevice::endResize()
{
    const auto before = std::exchange(resized_, std::nullopt);
    winsize size{};
    if (before && ::ioctl(fd_.get(), TIOCGWINSZ, &size) == 0 && size.ws_col == before->ws_col
        && size.ws_row + 1 == before->ws_row)
        (void)::ioctl(fd_.get(), TIOCSWINSZ, &*before);
}

}
