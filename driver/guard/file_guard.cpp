#include "driver/guard/file_guard.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/fanotify.h>
#include <unistd.h>

#include <cstring>

namespace vossel {

Result<FileGuard> FileGuard::open()
{
    FileGuard guard;
    // Not blocking, so that opening a pipe on the asker's behalf does not wait for its other end.
    guard.group_.reset(::fanotify_init(FAN_CLASS_CONTENT | FAN_REPORT_TID | FAN_UNLIMITED_QUEUE
            | FAN_UNLIMITED_MARKS | FAN_CLOEXEC | FAN_NONBLOCK,
        O_RDONLY | O_LARGEFILE | O_CLOEXEC | O_NONBLOCK | O_NOATIME));
    if (!guard.group_)
        return Failure{"The kernel does not let this process answer for file accesses: "
            + errorText(errno) + "; that takes fanotify and the rights of root"};
    guard.buffer_.resize(65536);
    return guard;
}

Result<bool> FileGuard::guard(const GuardedFolder& folder)
{
    if (::fanotify_mark(group_.get(), FAN_MARK_ADD | FAN_MARK_FILESYSTEM,
            FAN_OPEN_PERM | FAN_OPEN_EXEC_PERM, AT_FDCWD, folder.path().c_str())
        != 0)
        return Failure{"The kernel refuses to guard " + folder.path() + ": " + errorText(errno)};
    return true;
}

std::vector<FileGuard::Event> FileGuard::read()
{
    std::vector<Event> events;
    // A failure other than "nothing there" has denied the one access that could not be shown.
    const ssize_t size = ::read(group_.get(), buffer_.data(), buffer_.size());
    std::size_t place = 0;
    while (size > 0 && place + FAN_EVENT_METADATA_LEN <= static_cast<std::size_t>(size)) {
        fanotify_event_metadata event;
        std::memcpy(&event, buffer_.data() + place, sizeof event);
        if (event.event_len < FAN_EVENT_METADATA_LEN)
            break;
        place += event.event_len;
        if (event.fd < 0)
            continue;
        events.push_back({UniqueFd(event.fd), event.pid, (event.mask & FAN_OPEN_EXEC_PERM) != 0});
    }
    return events;
}

void FileGuard::answer(Event& event, bool allow)
{
    const fanotify_response response
        = {event.file.get(), static_cast<std::uint32_t>(allow ? FAN_ALLOW : FAN_DENY)};
    // Fails only when the asker is gone.
    [[maybe_unused]] const ssize_t written = ::write(group_.get(), &response, sizeof response);
    event.file.reset(); // after the answer, which names it
}

}
