#include "rules/rules_file_reader.h"

#include "foundation/files.h"
#include "foundation/log.h"
#include "foundation/utf8.h"
#include "rules/file_message.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>

namespace vossel {

namespace {

constexpr std::uint64_t maxBytes = std::uint64_t{4} << 30U;
constexpr std::size_t pieceSize = std::size_t{256} * 1024;

RulesFileReading failed(std::string error)
{
    return {ReadOutcome::Unreadable, std::move(error)};
}

RulesFileReading asEmpty(const std::string& path, ReadOutcome outcome)
{
    logText("failed to load contents of %@", path);
    return {outcome, std::nullopt};
}

// Memory that is not cleared before it is read into.
class Buffer {
public:
    [[nodiscard]] char* data() { return bytes_.get(); }
    [[nodiscard]] std::size_t size() const { return size_; }

    // Keeps the first `used` bytes. False when there is no memory.
    [[nodiscard]] bool grow(std::size_t size, std::size_t used)
    {
        std::unique_ptr<char[]> larger(new (std::nothrow) char[size]);
        if (!larger)
            return false;
        std::copy_n(bytes_.get(), used, larger.get());
        bytes_ = std::move(larger);
        size_ = size;
        return true;
    }

private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
};

}

RulesFileReading readRulesFile(
    const std::string& path, const std::function<void(std::string_view lines)>& take)
{
    if (path.empty() || path.find('\0') != std::string::npos) {
        logText("could not open null path");
        return failed("Internal error: the path provided was null");
    }
    const auto size = fileSize(path);
    if (size.error == ENOENT || size.error == ENOTDIR)
        return asEmpty(path, ReadOutcome::Missing);
    if (size.error != 0)
        return asEmpty(path, ReadOutcome::Unreadable);
    if (size.bytes == 0)
        return asEmpty(path, ReadOutcome::Empty);

    const auto noMemory = [&path] {
        logText("failed to allocate buffer for %@", path);
        return failed("Internal error: unable to allocate memory");
    };
    if (size.bytes > maxBytes)
        return noMemory();
    const auto file = openRefusingLink(path);
    if (!file.fd)
        return failed(
            fileMessage("Failed to open file '%@' for reading: %@ (%@)", path, file.error));
    // Another file may have taken the name meanwhile: the size is that of the one that is open.
    auto left = file.bytes;
    if (left == 0)
        return asEmpty(path, ReadOutcome::Empty);
    Buffer buffer;
    if (!buffer.grow(std::min<std::size_t>(left, pieceSize), 0))
        return noMemory();

    std::size_t used = 0; // of the buffer: the beginning of a line
    while (left > 0) {
        if (used == buffer.size() && !buffer.grow(std::min(2 * used, used + left), used))
            return noMemory();
        const auto part = std::min<std::size_t>(left, buffer.size() - used);
        if (const auto error = readExactly(file.fd.get(), buffer.data() + used, part))
            return failed(fileMessage("Failed to read() file '%@': %@ (%@)", path, *error));
        left -= part;

        const std::string_view text(buffer.data(), used + part);
        const auto nul = text.find('\0', used);
        const bool isLast = left == 0 || nul != std::string_view::npos;
        // A line feed is never part of another character; npos + 1 is 0.
        const auto lines = isLast ? text.substr(0, nul) : text.substr(0, text.rfind('\n') + 1);
        if (!isValidUtf8(lines))
            return asEmpty(path, ReadOutcome::NotUtf8);
        if (!lines.empty())
            take(lines);
        if (nul != std::string_view::npos)
            return {ReadOutcome::CutByNul, std::nullopt};
        used = text.size() - lines.size();
        std::copy(lines.end(), text.end(), buffer.data());
    }
    return {ReadOutcome::Read, std::nullopt};
}

}
