#pragma once

#include "hosts/linux/processes.h"
#include "hosts/linux/system_root.h"
#include "platform/accounts.h"

namespace vossel {

// Package managers at work. Which process carries an installation out is read from the locks that
// package managers take for its duration: only root can take one, everybody can see who holds it,
// and whatever front end is in use, it is the one that holds it. Any thread.
class LinuxInstallers final : public Installers {
public:
    // `root` holds /proc and the package databases; what counts is `owner`'s only: root's.
    explicit LinuxInstallers(std::string_view root = "/", UserId owner = 0);

    // The outermost of the processes at work, so that a decision "until it quits" lasts for the
    // whole installation. A manager that keeps no lock is found by its executable, which only root
    // may ask for.
    [[nodiscard]] std::uint32_t runningInstaller() const override;
    // Compared by the whole path: a process can give itself any name.
    [[nodiscard]] bool isInstallDaemon(std::string_view executable) const override;

private:
    [[nodiscard]] std::uint32_t lockHolder(std::string_view lockFile) const;
    [[nodiscard]] std::uint32_t outermost(std::uint32_t pid) const;
    [[nodiscard]] bool runsAsOwner(std::uint32_t pid) const;

    SystemRoot root_;
    LinuxProcesses processes_;
    UserId owner_;
};

}
