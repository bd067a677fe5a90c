#pragma once

#include "foundation/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace vossel::test {

// A program of its own, spoken to through pipes and killed with the object that started it.
class ChildProcess {
public:
    static constexpr std::chrono::seconds patience{20};

    // The first argument is the program, looked up in PATH. Standard error goes to a file.
    ChildProcess(std::vector<std::string> arguments, const std::string& errorFile)
    {
        int in[2];
        int out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        input_.reset(in[1]);
        output_.reset(out[0]);
        const UniqueFd childInput(in[0]);
        const UniqueFd childOutput(out[1]);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        posix_spawn_file_actions_t files;
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_adddup2(&files, childInput.get(), 0);
        ::posix_spawn_file_actions_adddup2(&files, childOutput.get(), 1);
        ::posix_spawn_file_actions_addopen(
            &files, 2, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        const int failure = ::posix_spawnp(&pid_, argv[0], &files, nullptr, argv.data(), ::environ);
        ::posix_spawn_file_actions_destroy(&files);
        if (failure != 0)
            throw std::runtime_error(arguments[0] + " does not start");
    }
    ~ChildProcess()
    {
        if (!waited_) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void write(std::string_view text) const
    {
        if (::write(input_.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("nobody reads");
    }
    void closeInput() { input_.reset(); }
    void closeOutput() { output_.reset(); }
    [[nodiscard]] pid_t pid() const { return pid_; }
    void signal(int number) const { ::kill(pid_, number); }

    // Without its line break; empty at the end of the output, and when none comes in time.
    std::optional<std::string> readLine()
    {
        for (;;) {
            const std::size_t end = pending_.find('\n');
            if (end != std::string::npos) {
                std::string line = pending_.substr(0, end);
                pending_.erase(0, end + 1);
                return line;
            }
            pollfd ready{output_.get(), POLLIN, 0};
            char bytes[4096];
            const auto limit = std::chrono::milliseconds(patience).count();
            if (::poll(&ready, 1, static_cast<int>(limit)) <= 0)
                return std::nullopt;
            const ssize_t count = ::read(output_.get(), bytes, sizeof bytes);
            if (count <= 0)
                return std::nullopt;
            pending_.append(bytes, static_cast<std::size_t>(count));
        }
    }

    // The exit status, 128 and the number for a signal. Empty when it does not end in time; it is
    // killed with the object then.
    std::optional<int> wait()
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        int status = 0;
        while (::waitpid(pid_, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > end)
                return std::nullopt;
            ::poll(nullptr, 0, 5);
        }
        waited_ = true;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    pid_t pid_ = -1;
    bool waited_ = false;
    UniqueFd input_;
    UniqueFd output_;
    std::string pending_;
};

}
