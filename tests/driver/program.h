#pragma once

#include "foundation/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

namespace vossel::test {

// A child process with both its outputs in one pipe. It dies with the test, and after 20 seconds.
class Program {
public:
    explicit Program(std::vector<std::string> command)
    {
        int ends[2] = {-1, -1};
        static_cast<void>(::pipe2(ends, O_CLOEXEC));
        std::vector<char*> arguments;
        for (std::string& word : command)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::dup2(ends[1], STDOUT_FILENO);
            ::dup2(ends[1], STDERR_FILENO);
            ::setenv("LC_ALL", "C", 1);
            ::unsetenv("VOSSEL_PREFIX");
            ::unsetenv("SUDO_UID");
            ::execvp(arguments[0], arguments.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        output_.reset(ends[0]);
        handle_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    }
    ~Program()
    {
        signal(SIGKILL);
        static_cast<void>(wait());
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    void signal(int number)
    {
        if (!ended_)
            ::kill(pid_, number);
    }
    // Whether it has written this; waits for it.
    [[nodiscard]] bool writes(const std::string& text)
    {
        while (text_.find(text) == std::string::npos)
            if (!readSome())
                return false;
        return true;
    }
    // Everything written, once all of its ends are closed.
    [[nodiscard]] const std::string& output()
    {
        while (readSome()) { }
        return text_;
    }
    // The exit status; -1 for a signal, which may be this function's own.
    int wait()
    {
        if (ended_)
            return status_;
        if (!readable(handle_.get()))
            ::kill(pid_, SIGKILL);
        int status = 0;
        ::waitpid(pid_, &status, 0);
        ended_ = true;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return status_;
    }

private:
    static bool readable(int fd)
    {
        pollfd query = {fd, POLLIN, 0};
        return ::poll(&query, 1, 20000) > 0;
    }
    bool readSome()
    {
        char buffer[4096];
        const ssize_t size
            = readable(output_.get()) ? ::read(output_.get(), buffer, sizeof buffer) : 0;
        if (size > 0)
            text_.append(buffer, static_cast<std::size_t>(size));
        return size > 0;
    }

    pid_t pid_ = -1;
    UniqueFd handle_;
    UniqueFd output_;
    std::string text_;
    bool ended_ = false;
    int status_ = -1;
};

}
