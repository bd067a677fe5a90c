#pragma once

#include <string>
#include <string_view>

namespace vossel {

// What view models ask of the desktop. Main thread only.
class WindowSystem {
public:
    virtual ~WindowSystem() = default;

    // Whether the Command key (or what stands in its place) is down now.
    [[nodiscard]] virtual bool commandKeyHeld() const = 0;
    // Width in points of `text` in the system font at `fontSize` points.
    [[nodiscard]] virtual double textWidth(std::string_view text, float fontSize) const = 0;

    // Makes `file` the picture of the program at this path; without one that can be relied on there
    // is no file afterwards. Does nothing where no pictures are shown.
    virtual void storeProgramIcon(const std::string& program, const std::string& file) = 0;

    virtual void activateApplication() = 0;
    virtual void deactivateApplication() = 0;
    virtual void hideApplication() = 0;
};

// Other programs of the desktop. Any thread.
class Workspace {
public:
    virtual ~Workspace() = default;

    // Opens an application by its path; a failure is logged.
    virtual void launchApplication(const std::string& path) = 0;
};

}
