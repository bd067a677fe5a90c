#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace vossel::test {

// A folder of the test's own, removed with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory()
        : path_((std::filesystem::temp_directory_path() / "vossel-test-XXXXXX").string())
    {
        if (!::mkdtemp(path_.data()))
            throw std::runtime_error("no temporary directory");
    }
    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    // Without a trailing "/".
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string operator/(const std::string& name) const
    {
        return path_ + "/" + name;
    }

private:
    std::string path_;
};

}
