#pragma once

#include "platform/host.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vossel {

class TextField;

// Small questions that the prompts ask of the system, each answered afresh. Holds nothing but
// services; the font is the main thread's, the rest may be asked from any thread.
class Utilities {
public:
    struct Services {
        // Implicit on purpose: who has a host hands it over as it is.
        Services(const Host& host) // NOLINT(google-explicit-constructor)
            : processes(host.processes)
            , installers(host.installers)
            , volumes(host.volumes)
            , windows(host.windows)
        {
        }

        const Processes& processes;
        const Installers& installers;
        const Volumes& volumes;
        const WindowSystem& windows;
    };

    explicit Utilities(const Services& services)
        : services_(services)
    {
    }

    // -1 when there is no such process; 0 for the first one.
    [[nodiscard]] std::int32_t processIDForParentOfProcessID(std::uint32_t pid) const;
    // The last process in the table that runs this executable (the first 1024 bytes count); else 0.
    [[nodiscard]] std::uint32_t findProcessIDWithPath(std::string_view path) const;
    // 0 when no installation is running.
    [[nodiscard]] std::uint32_t findInstallerPID() const;
    // Whether the volume at a "file://" URL is a mounted disk image.
    [[nodiscard]] bool isDiskImageAtURL(std::string_view url) const;
    // Shrinks the field's font by half points, never below 12, until its text fits its width.
    void adjustFontSizeToFitWidth(TextField& field) const;

private:
    const Services services_;
};

}
