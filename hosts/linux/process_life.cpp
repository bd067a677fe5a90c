#include "hosts/linux/process_life.h"

#include "hosts/linux/proc_file.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <memory>

namespace vossel {

UniqueFd openProcess(std::int32_t process)
{
    return UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
}

std::function<bool()> whileProcessLives(std::int32_t process, std::uint64_t startTime)
{
    const auto handle = std::make_shared<UniqueFd>(openProcess(process));
    // Compared after the handle was taken: from now on the number cannot change hands unseen.
    if (!*handle || startTime == 0 || readStartTime(SystemRoot(), process) != startTime)
        return [] { return false; };
    return [handle] {
        pollfd query = {};
        query.fd = handle->get();
        query.events = POLLIN;
        return ::poll(&query, 1, 0) == 0;
    };
}

bool isThreadOf(std::int32_t process, std::int32_t thread)
{
    return process > 0 && thread > 0 && ::syscall(SYS_tgkill, process, thread, 0) == 0;
}

}
