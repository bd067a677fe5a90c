#pragma once

#include "hosts/linux/desktop_entries.h"
#include "hosts/linux/file_stamp.h"

#include <QIcon>
#include <QImage>
#include <QSize>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vossel {

// The pictures of programs and of the package installer, as the desktop shows them (DesktopEntries
// says whose picture is whose), else the desktop's picture of a program as such. Making one lets
// the whole process look for icon themes in the system's folders only: a user's own theme could
// dress one program up as another. Main thread.
class ProgramIcons {
public:
    explicit ProgramIcons(const SystemRoot& root = SystemRoot(),
        const std::vector<std::string>& dataFolders = DesktopEntries::systemFolders());

    // Takes the path of an executable. The icon is null only where not even the general picture is
    // there.
    [[nodiscard]] QIcon iconOf(const std::string& program);
    // The image has exactly `size` points, with the picture in the middle; it is null without an
    // icon.
    [[nodiscard]] QImage image(
        const std::string& program, QSize size, double devicePixelRatio = 1.0);
    // Takes the path of an application bundle as prompts name it; only the installer's is ever
    // shown.
    [[nodiscard]] static QIcon workspaceIcon(const std::string& path);

    // Makes `file` the program's picture, a PNG of 128 x 128 that only this user may read, and says
    // whether it is. Where it cannot be, the old one is removed if it is this user's: no program
    // shall be seen with the picture of another. What is another user's, a folder or a device
    // stays; a link is taken away, not followed.
    [[nodiscard]] bool store(const std::string& program, const std::string& file);
    // A picture that another program left for this one; null for anything but a PNG of at most 4 MB
    // and 1024 x 1024 in a regular file of this user's or root's.
    [[nodiscard]] static QImage load(const std::string& file);

private:
    // What the last `store` left, and the file as it was then.
    struct Stored {
        std::string file;
        std::string face;
        FileStamp stamp;
    };

    [[nodiscard]] QIcon faceIcon(const std::string& face);
    [[nodiscard]] QIcon pictureAt(const std::string& path) const;
    [[nodiscard]] std::string faceOf(const std::string& program);
    [[nodiscard]] std::string encoded(const std::string& face, const std::string& program);
    [[nodiscard]] static bool ownStamp(const std::string& file, FileStamp& stamp);

    DesktopEntries entries_;
    std::unordered_map<std::string, QIcon> faces_; // by what the entries say, at most 64
    std::unordered_map<std::string, std::string> encoded_; // PNG files, by face, at most 64
    QString theme_; // what the two were made with
    unsigned readings_ = 0;
    Stored stored_;
};

}
