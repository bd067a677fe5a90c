#pragma once

#include "foundation/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <pty.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace vossel::test {

// The two sides of a pseudo-terminal: what is typed and read by the person, and the device.
class Pty {
public:
    Pty(int columns, int rows)
    {
        const winsize size{
            static_cast<unsigned short>(rows), static_cast<unsigned short>(columns), 0, 0};
        int person = -1;
        int device = -1;
        std::array<char, 64> name{};
        if (::openpty(&person, &device, name.data(), nullptr, &size) != 0)
            throw std::runtime_error("no pseudo-terminal");
        // Whoever is started later must not keep the terminal alive.
        ::fcntl(person, F_SETFD, FD_CLOEXEC);
        ::fcntl(device, F_SETFD, FD_CLOEXEC);
        person_.reset(person);
        device_.reset(device);
        path_ = name.data();
    }

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] int device() const { return device_.get(); }
    void type(std::string_view keys)
    {
        if (::write(person_.get(), keys.data(), keys.size()) != std::ssize(keys))
            throw std::runtime_error("the terminal takes no keys");
    }
    void resize(int columns, int rows)
    {
        const winsize size{
            static_cast<unsigned short>(rows), static_cast<unsigned short>(columns), 0, 0};
        ::ioctl(person_.get(), TIOCSWINSZ, &size);
    }
    // All that was written to the device before this: a mark is sent after it and waited for.
    std::string read()
    {
        static constexpr char mark = '\005';
        std::string bytes;
        bool marked = false;
        std::array<char, 4096> buffer;
        while (person_ && bytes.find(mark) == std::string::npos) {
            marked = marked || ::write(device_.get(), &mark, 1) == 1;
            pollfd wait{person_.get(), POLLIN, 0};
            const ssize_t count = ::poll(&wait, 1, 5000) > 0
                ? ::read(person_.get(), buffer.data(), buffer.size())
                : 0;
            if (count <= 0)
                break;
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
        }
        std::erase(bytes, mark);
        return bytes;
    }
    [[nodiscard]] bool isCooked() const
    {
        termios mode{};
        ::tcgetattr(device_.get(), &mode);
        return (mode.c_lflag & ICANON) != 0 && (mode.c_lflag & ECHO) != 0;
    }
    void vanish() { person_.reset(); }

private:
    UniqueFd person_;
    UniqueFd device_;
    std::string path_;
};

}
