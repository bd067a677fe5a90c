#pragma once

#include <string>
#include <string_view>

namespace vossel {

// The folder under which the system's own files are looked for: "/" in earnest, a small tree of its
// own in a test. An immutable value.
class SystemRoot {
public:
    explicit SystemRoot(std::string_view folder = "/")
        : folder_(folder.substr(0, folder.find_last_not_of('/') + 1))
    {
    }

    // Where `path`, which begins with "/", really lies.
    [[nodiscard]] std::string at(std::string_view path) const
    {
        return std::string(folder_).append(path);
    }
    // The way back: `place` without the folder; `place` itself where it lies elsewhere.
    [[nodiscard]] std::string_view inside(std::string_view place) const
    {
        return place.starts_with(folder_) ? place.substr(folder_.size()) : place;
    }

private:
    std::string folder_; // without a trailing "/"
};

}
