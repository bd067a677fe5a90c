#pragma once

#include "platform/host.h"
#include "settings/directories.h"

#include <cstdint>
#include <string_view>

namespace vossel {

// What the agent tells the user outside the prompts. Any thread; both return at once.
class UserNotices {
public:
    struct Services {
        // Implicit on purpose: who has a host hands it over as it is.
        Services(const Host& host) // NOLINT(google-explicit-constructor)
            : processes(host.processes)
            , notifications(host.notifications)
            , notices(host.notices)
        {
        }

        const Processes& processes;
        NotificationCentre& notifications;
        Notices& notices;
    };

    UserNotices(const Services& services, const Directories& directories)
        : services_(services)
        , directories_(directories)
    {
    }

    // A system notice that goes away after a minute. The texts are byte strings in the Mac Roman
    // encoding.
    void displayNotice(std::string_view header, std::string_view message) const;

    // Tells that input composed by a program was not taken; `type` is "keypresses" or "mouse
    // clicks". A program that has already ended is called "unknown program"; that of
    // `unnamedProgram` stands for one that nobody can name.
    void sendIgnoredNotificationForPid(std::int32_t pid, std::string_view type) const;

private:
    const Services services_;
    const Directories& directories_;
};

}
