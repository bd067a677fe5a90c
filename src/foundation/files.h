#pragma once

#include "foundation/result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

// Owns a file descriptor; -1 stands for none.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd)
        : fd_(fd)
    {
    }
    UniqueFd(UniqueFd&& other) noexcept
        : fd_(other.release())
    {
    }
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] explicit operator bool() const { return fd_ >= 0; }
    [[nodiscard]] int release() noexcept;
    void reset(int fd = -1) noexcept;

private:
    int fd_ = -1;
};

// The whole content of a file or pipe; "-" is not special. Fails when it cannot be opened or read
// or holds more than `limit` bytes. A named pipe that nobody has open for writing reads as empty.
Result<std::string> readFile(const std::string& path, std::size_t limit);

// Reads a descriptor to its end, with the same limit; `name` is what failures call it.
Result<std::string> readDescriptor(int fd, std::size_t limit, std::string_view name);

// Replaces the content of a file, creating it with `mode` where it is missing.
Result<bool> writeFile(const std::string& path, std::string_view content, unsigned mode = 0644);

// Parts of reading a file, for callers that handle one error unlike another. Errors are errno's.
struct FileSize {
    std::uint64_t bytes = 0;
    int error = 0; // when it is not 0, there is no size
};
// A symbolic link is followed.
[[nodiscard]] FileSize fileSize(const std::string& path);
struct FileToRead {
    UniqueFd fd;
    std::uint64_t bytes = 0; // its size when it was opened
    int error = 0; // when it is not 0, the file is not open
};
// For reading; a symbolic link as the last component is refused with ELOOP.
[[nodiscard]] FileToRead openRefusingLink(const std::string& path);
// Empty once all `size` bytes have arrived, else the error; 0 stands for an early end.
[[nodiscard]] std::optional<int> readExactly(int fd, char* into, std::size_t size);

[[nodiscard]] bool fileExists(const std::string& path);
[[nodiscard]] bool isDirectory(const std::string& path);
[[nodiscard]] bool opensForReading(const std::string& path);
// By the effective user's rights and the mount's (a read-only file system is not writable).
[[nodiscard]] bool isWritable(const std::string& path);

// errno as a sentence part: "No such file or directory".
[[nodiscard]] std::string errorText(int error);

}
