#include "hosts/linux/proc_file.h"

#include "foundation/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <charconv>

namespace vossel {

namespace {

template <class Number>
std::optional<Number> leadingNumber(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(" \t");
    if (start == std::string_view::npos)
        return std::nullopt;
    Number value = 0;
    const auto [end, error]
        = std::from_chars(text.data() + start, text.data() + text.size(), value);
    return error == std::errc() ? std::optional(value) : std::nullopt;
}

// The value after "NAME:" at the start of a line. The first line holds the program's own choice of
// a name, in which the kernel escapes line breaks.
template <class Number>
std::optional<Number> field(std::string_view text, const char* name)
{
    const std::string label = std::string("\n") + name + ":";
    const std::size_t place = text.find(label);
    if (place == std::string_view::npos)
        return std::nullopt;
    return leadingNumber<Number>(text.substr(place + label.size()));
}

}

std::string readProcFile(const std::string& procFolder, std::int32_t id, const char* name)
{
    const std::string path = procFolder + "/" + std::to_string(id) + "/" + name;
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string content(4096, '\0');
    const ssize_t size = file ? ::read(file.get(), content.data(), content.size()) : -1;
    content.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return content;
}

std::optional<ThreadFacts> readThreadFacts(const std::string& procFolder, std::int32_t thread)
{
    const std::string text = readProcFile(procFolder, thread, "status");
    const auto process = field<std::int32_t>(text, "Tgid");
    const auto parent = field<std::int32_t>(text, "PPid");
    const auto user = field<std::uint32_t>(text, "Uid");
    if (!process || !parent || !user)
        return std::nullopt;
    return ThreadFacts{*process, *parent, *user};
}

std::uint64_t readStartTime(const std::string& procFolder, std::int32_t process)
{
    const std::string text = readProcFile(procFolder, process, "stat");
    // The second field is the program's own choice of a name and may hold anything, ")" included.
    const std::size_t nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos)
        return 0;
    std::string_view rest = std::string_view(text).substr(nameEnd + 1);
    constexpr int fieldsBefore = 20; // " STATE PPID ...": the 22nd field is the 20th after the name
    for (int i = 0; i < fieldsBefore; ++i) {
        const std::size_t space = rest.find(' ');
        if (space == std::string_view::npos)
            return 0;
        rest.remove_prefix(space + 1);
    }
    return leadingNumber<std::uint64_t>(rest).value_or(0);
}

}
