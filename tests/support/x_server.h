#pragma once

#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace vossel::test {

[[nodiscard]] inline bool isInPath(const std::string& program)
{
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (::access((folder + "/" + program).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

// X servers of the test's own, for programs with its cookie (XAUTHORITY) only. Inside the first may
// run a second, for which the input of the first is hardware.
class XServer {
public:
    // As of another user, everybody may read the cookie. Its folder goes with this object.
    class Cookie {
    public:
        Cookie()
        {
            const std::string name = "MIT-MAGIC-COOKIE-1";
            // For any host and display.
            std::string entry("\xFF\xFF\0\0\0\0\0\x12", 8);
            entry += name + std::string("\0\x10", 2) + std::to_string(::getpid())
                + "0123456789abcdef";
            entry.resize(8 + name.size() + 2 + 16);
            ::chmod(folder_.path().c_str(), 0755);
            if (!writeFile(file(), entry))
                throw std::runtime_error("no cookie");
            ::setenv("XAUTHORITY", file().c_str(), 1);
        }
        [[nodiscard]] std::string file() const { return folder_ / "cookie"; }
        [[nodiscard]] const TemporaryDirectory& folder() const { return folder_; }

    private:
        TemporaryDirectory folder_;
    };

    // The program is Xvfb, or Xephyr with the display that it shall run in.
    XServer(const Cookie& cookie, const std::string& program, const std::string& outer = "")
        : process_(arguments(cookie, program, outer), cookie.folder() / (program + ".log"))
    {
        const auto number = process_.readLine();
        if (!number || number->empty())
            throw std::runtime_error(program + " does not start");
        display_ = ":" + *number;
    }

    [[nodiscard]] const char* display() const { return display_.c_str(); }
    void kill() const { process_.signal(SIGKILL); }

private:
    static std::vector<std::string> arguments(
        const Cookie& cookie, const std::string& program, const std::string& outer)
    {
        std::vector<std::string> all{"env", "DISPLAY=" + outer, program, "-displayfd", "1",
            "-nolisten", "tcp", "-auth", cookie.file()};
        const std::vector<std::string> screen = outer.empty()
            ? std::vector<std::string>{"-screen", "0", "640x480x24"}
            : std::vector<std::string>{"-screen", "640x480"};
        all.insert(all.end(), screen.begin(), screen.end());
        return all;
    }

    ChildProcess process_;
    std::string display_;
};

}
