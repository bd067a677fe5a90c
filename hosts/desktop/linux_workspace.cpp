#include "hosts/desktop/linux_workspace.h"

#include "foundation/files.h"
#include "foundation/log.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace vossel {

namespace {

// In the child, where only what a signal handler may call is allowed. The program's parent ends at
// once, so that nobody here has to wait for it. `failed` closes when it has started.
[[noreturn]] void becomeProgram(char* const argv[], char* const environment[], int failed)
{
    ::setsid();
    // This program blocks and ignores signals that others expect to die of.
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    // Standard output may be what a script reads.
    const int nothing = ::open("/dev/null", O_RDWR);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    if (nothing > STDERR_FILENO)
        ::close(nothing);
    if (::fork() == 0) {
        ::execve(argv[0], argv, environment);
        const int error = errno;
        (void)!::write(failed, &error, sizeof error);
    }
    ::_exit(0);
}

// 0, or why the program did not start.
int start(std::string path)
{
    std::array<int, 2> failure{};
    if (::pipe2(failure.data(), O_CLOEXEC) != 0)
        return errno;
    const UniqueFd read(failure[0]);
    UniqueFd write(failure[1]);
    std::array<char*, 2> argv{path.data(), nullptr};
    const pid_t child = ::fork();
    if (child < 0)
        return errno;
    if (child == 0)
        becomeProgram(argv.data(), ::environ, write.get());
    write.reset();
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) { }
    int error = 0;
    ssize_t count = 0;
    while ((count = ::read(read.get(), &error, sizeof error)) < 0 && errno == EINTR) { }
    return count == sizeof error ? error : 0;
}

}

void LinuxWorkspace::launchApplication(const std::string& path)
{
    if (const int error = start(path))
        logText("cannot open \"%@\": %@", path, errorText(error));
}

}
