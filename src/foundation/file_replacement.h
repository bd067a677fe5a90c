#pragma once

#include "foundation/files.h"

#include <string>
#include <string_view>

namespace vossel {

// Writes a file anew so that a power cut leaves the old content or the new, never half: the new one
// is written beside it, forced to the disk and given its name. Owner and group stay. What is no
// regular file, or lies in a folder that may not be written, is written in place: there a failure
// leaves what was written until then. Other names of the file (hard links) keep the old content.
// Operations return 0 or an error number. One thread.
class FileReplacement {
public:
    FileReplacement(std::string path, unsigned mode)
        : path_(std::move(path))
        , mode_(mode)
    {
    }
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;
    // What was not committed leaves the old file as it was.
    ~FileReplacement();

    // Creates the file where it is missing; its content stays. A symbolic link is refused (ELOOP),
    // as is a pipe that nobody reads (ENXIO).
    [[nodiscard]] int open();
    // To be called after open(). When one fails, commit() fails, too, and leaves the old file as it
    // was, unless that is written in place.
    [[nodiscard]] int append(std::string_view bytes);
    // Puts the new content in place, with the mode; the old content gets the mode, too. Fails when
    // an earlier operation failed.
    [[nodiscard]] int commit();

private:
    [[nodiscard]] int openBeside();
    [[nodiscard]] int takePlace();
    [[nodiscard]] int copyInPlace();
    void discard();

    std::string path_;
    unsigned mode_;
    UniqueFd file_; // the one that is replaced
    UniqueFd folder_;
    UniqueFd beside_; // none when the file is written in place
    std::string besideName_;
    bool regular_ = false;
    int failure_ = 0; // the first error of writing beside the file
};

}
