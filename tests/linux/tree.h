#pragma once

#include "foundation/files.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace vossel::test {

// A small tree of system files for code that is given a root.
class Tree {
public:
    [[nodiscard]] const std::string& root() const { return folder_.path(); }
    [[nodiscard]] std::string at(const std::string& path) const { return root() + path; }

    void file(const std::string& path, std::string_view content) const
    {
        std::filesystem::create_directories(std::filesystem::path(at(path)).parent_path());
        const auto written = writeFile(at(path), content);
        ASSERT_TRUE(written) << written.reason();
    }
    void link(const std::string& path, const std::string& target) const
    {
        std::filesystem::create_directories(std::filesystem::path(at(path)).parent_path());
        std::filesystem::create_symlink(target, at(path));
    }
    void folder(const std::string& path) const { std::filesystem::create_directories(at(path)); }

private:
    TemporaryDirectory folder_;
};

// Runs `body` in a child process and returns what it wrote to the descriptor that it was given.
// What it changes (mounts, signals, the process's own standing) ends with it.
template <class Body>
std::string inChild(const Body& body)
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        return "no pipe";
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        body(ends[1]);
        ::_exit(0);
    }
    ::close(ends[1]);
    const UniqueFd reading(ends[0]);
    const auto said = readDescriptor(reading.get(), 65536, "child");
    int status = 0;
    ::waitpid(child, &status, 0);
    return (said ? *said : said.reason()) + (status == 0 ? "" : " (the child failed)");
}

inline void say(int fd, std::string_view text)
{
    static_cast<void>(!::write(fd, text.data(), text.size()));
}

}
