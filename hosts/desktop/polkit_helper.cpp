#include "hosts/desktop/polkit_helper.h"

#include "foundation/log.h"
#include "hosts/linux/packet.h"
#include "hosts/linux/packet_socket.h"
#include "hosts/linux/process_life.h"

#include <QSocketNotifier>

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <spawn.h>
#include <utility>

namespace vossel {

namespace {

using Kind = PolkitHelperLine::Kind;

constexpr std::size_t maxLineSize = 8192; // PAM's longest text, every byte of it escaped, is 2 KiB
constexpr std::size_t maxAnswerSize = 510;

// The attributes of a program that inherits nothing: neither blocked nor ignored signals, nor the
// terminal, where a module of PAM's would ask beside us.
class SpawnSettings {
public:
    explicit SpawnSettings(int inputAndOutput)
    {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setflags(
            &attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_adddup2(&files, inputAndOutput, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&files, inputAndOutput, STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    }
    ~SpawnSettings()
    {
        ::posix_spawn_file_actions_destroy(&files);
        ::posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    posix_spawnattr_t attributes{};
    posix_spawn_file_actions_t files{};
};

}

PolkitHelper::PolkitHelper(Listener listener)
    : listener_(std::move(listener))
{
}

PolkitHelper::~PolkitHelper()
{
    stop();
}

// A notifier may be what just called.
void PolkitHelper::Retire::operator()(QSocketNotifier* notifier) const
{
    notifier->setEnabled(false);
    notifier->deleteLater();
}

PolkitHelper::Notifier PolkitHelper::notify(int fd, void (PolkitHelper::*call)())
{
    Notifier notifier(new QSocketNotifier(fd, QSocketNotifier::Read));
    QObject::connect(notifier.get(), &QSocketNotifier::activated, this, call);
    return notifier;
}

// 0, or why the program did not start.
int PolkitHelper::spawn(const std::string& program, const std::string& user)
{
    auto [ours, theirs] = socketPair(SOCK_STREAM);
    if (!ours)
        return errno;
    socket_ = std::move(ours);
    const SpawnSettings settings(theirs.get());
    std::string path = program;
    std::string name = user;
    std::array<char*, 3> arguments{path.data(), name.data(), nullptr};
    std::array<char*, 1> environment{nullptr};
    pid_t started = -1;
    if (const int error = ::posix_spawn(&started, program.c_str(), &settings.files,
            &settings.attributes, arguments.data(), environment.data()))
        return error;
    pid_ = started;
    process_ = openProcess(pid_);
    return process_ ? 0 : errno;
}

bool PolkitHelper::start(
    const std::string& program, const std::string& user, std::string_view cookie)
{
    if (const int error = spawn(program, user)) {
        logText("polkit's helper \"%@\" cannot be started: %@", program, errorText(error));
        stop();
        return false;
    }
    heard_ = notify(socket_.get(), &PolkitHelper::read);
    ended_ = notify(process_.get(), &PolkitHelper::readRest);
    // One that is not taken ends the helper, which is heard of.
    (void)send(cookie);
    return true;
}

void PolkitHelper::answer(std::string_view line)
{
    const std::size_t end
        = std::min(line.find_first_of(std::string_view("\n\0", 2)), maxAnswerSize);
    if (!send(line.substr(0, end)))
        logText("polkit's helper takes no answer");
}

// In one piece and without a copy, for it may be a password.
bool PolkitHelper::send(std::string_view line) const
{
    constexpr std::string_view lineBreak = "\n";
    return sendPacket(
               socket_.get(), {std::as_bytes(std::span(line)), std::as_bytes(std::span(lineBreak))})
        == Sent::Yes;
}

// Asked after each call of the listener's, which may have destroyed it.
bool PolkitHelper::runs(const QPointer<PolkitHelper>& self)
{
    return self && self->pid_ > 0;
}

void PolkitHelper::read()
{
    std::array<char, 4096> bytes{};
    const ssize_t count = ::recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        conclude();
        return;
    }
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
    const QPointer<PolkitHelper> self(this);
    std::size_t end = 0;
    while (runs(self) && !verdict_ && (end = pending_.find('\n')) != std::string::npos) {
        const auto line = parsePolkitHelperLine(std::string_view(pending_).substr(0, end));
        pending_.erase(0, end + 1);
        hear(line);
    }
    if (runs(self) && pending_.size() > maxLineSize)
        conclude();
}

void PolkitHelper::hear(const PolkitHelperLine& line)
{
    if (line.kind == Kind::Unknown) {
        conclude();
    } else if (line.kind == Kind::Success || line.kind == Kind::Failure) {
        verdict_ = line.kind == Kind::Success ? End::Success : End::Failure;
    } else {
        const auto asksOrTells = listener_.asksOrTells;
        asksOrTells(line);
    }
}

// What it said last may still be under way, the verdict above all. A program that it left behind
// may hold the other end open, so that there is no end to wait for.
void PolkitHelper::readRest()
{
    const QPointer<PolkitHelper> self(this);
    for (int available = 1; runs(self) && available > 0;) {
        read();
        if (runs(self) && ::ioctl(socket_.get(), FIONREAD, &available) != 0)
            available = 0;
    }
    if (runs(self))
        conclude();
}

void PolkitHelper::conclude()
{
    stop();
    const auto ended = listener_.ended;
    ended(verdict_.value_or(End::Broken));
}

// Closing its input as well ends one that may not be killed: where it has become another user.
void PolkitHelper::stop()
{
    heard_.reset();
    ended_.reset();
    socket_.reset();
    process_.reset();
    const pid_t pid = std::exchange(pid_, -1);
    if (pid < 0 || ::waitpid(pid, nullptr, WNOHANG) != 0)
        return;
    if (::kill(pid, SIGKILL) != 0)
        logText("polkit's helper cannot be ended: %@", errorText(errno));
    else
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { }
}

}
