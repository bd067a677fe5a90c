#include "driver/guard/blocked_call.h"

#include "hosts/linux/proc_file.h"
#include "wire/driver_messages.h"

#include <fcntl.h>
#include <sys/syscall.h>

#include <charconv>
#include <optional>

namespace vossel {

namespace {

// The next word of `text`, cut off it; words are separated by one space.
std::string_view takeWord(std::string_view& text)
{
    const std::size_t end = text.find_first_of(" \n");
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return word;
}

std::optional<std::uint64_t> number(std::string_view word)
{
    const bool hexadecimal = word.starts_with("0x");
    if (hexadecimal)
        word.remove_prefix(2);
    std::uint64_t value = 0;
    const auto [end, error]
        = std::from_chars(word.data(), word.data() + word.size(), value, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != word.data() + word.size())
        return std::nullopt;
    return value;
}

// Which argument of an opening call holds its flags; -1 for every other call.
int flagsArgument(std::uint64_t call)
{
    switch (call) {
#ifdef SYS_open
    case SYS_open:
        return 1;
#endif
    case SYS_openat:
    case SYS_open_by_handle_at:
        return 2;
    default:
        // openat2 keeps its flags in memory that another thread of the caller can take away, and
        // whoever then reads it waits for that thread.
        return -1;
    }
}

BlockedCall fromFlags(int flags)
{
    BlockedCall call;
    call.known = true;
    const int mode = flags & O_ACCMODE;
    if (mode != O_WRONLY)
        call.operations |= OPERATION_READ;
    if (mode != O_RDONLY || (flags & O_TRUNC) != 0)
        call.operations |= OPERATION_WRITE;
    call.mayCreate = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return call;
}

}

BlockedCall parseBlockedCall(std::string_view text)
{
    const BlockedCall unknown = {OPERATION_READ | OPERATION_WRITE, true, false};
    const std::optional<std::uint64_t> call = number(takeWord(text));
    if (!call)
        return unknown;
    if (*call == SYS_execve || *call == SYS_execveat)
        return {OPERATION_EXECUTE, false, true};
#ifdef SYS_creat
    if (*call == SYS_creat)
        return fromFlags(O_CREAT | O_WRONLY | O_TRUNC);
#endif
    const int wanted = flagsArgument(*call);
    if (wanted < 0)
        return unknown;
    std::optional<std::uint64_t> flags;
    for (int i = 0; i <= wanted; ++i)
        flags = number(takeWord(text));
    return flags ? fromFlags(static_cast<int>(*flags)) : unknown;
}

BlockedCall readBlockedCall(const SystemRoot& root, std::int32_t thread)
{
    return parseBlockedCall(readProcFile(root, thread, "syscall"));
}

}
