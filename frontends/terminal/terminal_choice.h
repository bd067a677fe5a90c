#pragma once

#include "frontends/terminal/terminal_capabilities.h"
#include "frontends/terminal/terminal_device.h"
#include "frontends/terminal/terminal_text.h"
#include "hosts/linux/terminals.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vossel {

// Says on which terminal the user is asked; it owns the agent's own terminal. A prompt stands where
// the program that it is about was started, in front of the person who did: on the program's own
// terminal. But nobody else may be reading keys there: the program must be in its foreground, where
// it waits itself. Otherwise, and for programs without a terminal, it is the agent's own, while the
// agent is in its foreground. Main thread.
class TerminalChoice {
public:
    struct Place {
        std::shared_ptr<TerminalDevice> device;
        std::shared_ptr<const TerminalCapabilities> capabilities;
        Charset charset = Charset::Utf8;
        // Others than the program that is asked about, the agent and those who wait for them have
        // it too, and may write to it meanwhile.
        bool shared = false;
    };

    // Opens the process's controlling terminal and gives up its control, so that the agent can read
    // its keys from the background and survives when it vanishes. Fails with the reason when
    // there is none or it cannot show a prompt.
    static Result<TerminalChoice> open(const std::string& path = "/dev/tty");

    // From now on no program's terminal is used but the agent's own: a program that makes a
    // terminal for itself presses the keys there.
    void useOwnOnly() { ownOnly_ = true; }
    // The place where the user can be asked about this process now, if there is one.
    [[nodiscard]] std::optional<Place> placeFor(std::int32_t pid);
    // Whether that place can still be had: the program may have been killed, and its shell reads
    // the keys again.
    [[nodiscard]] bool isStillFree(const Place& place, std::int32_t pid) const;
    // The agent's own terminal while it is there.
    [[nodiscard]] const std::optional<Place>& own() const { return own_; }
    // Whether the agent is the one who is spoken to on its own terminal.
    [[nodiscard]] bool isOwnInForeground() const;
    // Forgets the agent's own terminal if it has gone, and says so in the log.
    void forgetVanished();

private:
    explicit TerminalChoice(Place own)
        : own_(std::move(own))
    {
    }

    [[nodiscard]] std::optional<Place> programsTerminal(
        const ControllingTerminal& terminal, std::int32_t pid);
    [[nodiscard]] std::shared_ptr<const TerminalCapabilities> capabilitiesOf(
        const std::string& type);

    LinuxTerminals terminals_;
    std::optional<Place> own_;
    bool ownOnly_ = false;
    std::map<std::string, std::shared_ptr<const TerminalCapabilities>> known_; // by kind
};

}
