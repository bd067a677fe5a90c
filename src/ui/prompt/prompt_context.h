#pragma once

#include "platform/host.h"
#include "prompting/utilities.h"
#include "user/notices.h"

namespace vossel {

class Directories;
class PermissionsManager;
class PromptPresenter;

// What the prompts are made from; all of it outlives them.
struct PromptContext {
    struct Services {
        // Implicit on purpose: who has a host hands it over as it is.
        Services(const Host& host) // NOLINT(google-explicit-constructor)
            : clock(host.clock)
            , timers(host.timers)
            , accounts(host.accounts)
            , processes(host.processes)
            , authenticator(host.authenticator)
            , windows(host.windows)
            , alertSound(host.alertSound)
            , utilities(host)
            , notices(host)
        {
        }

        Clock& clock;
        Timers& timers;
        const Accounts& accounts;
        const Processes& processes;
        Authenticator& authenticator;
        WindowSystem& windows;
        AlertSound& alertSound;
        Utilities::Services utilities;
        UserNotices::Services notices;
    };

    const Services services;
    const Directories& directories;
    PermissionsManager& manager;
    PromptPresenter& presenter;
};

}
