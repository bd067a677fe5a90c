#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// The process table; asked afresh at each call, from any thread.
class Processes {
public:
    virtual ~Processes() = default;

    // -1 when there is no such process or the system does not say; 0 for the first process.
    [[nodiscard]] virtual std::int32_t parentOf(std::uint32_t pid) const = 0;
    // At most 1023 bytes; empty when there is no such process, or it may not be asked.
    [[nodiscard]] virtual std::string executablePath(std::uint32_t pid) const = 0;
    // In the order of the process table.
    [[nodiscard]] virtual std::vector<std::uint32_t> all() const = 0;
};

// Installation of software by the system's own means.
class Installers {
public:
    virtual ~Installers() = default;

    // The process that carries an installation out; 0 when none is running.
    [[nodiscard]] virtual std::uint32_t runningInstaller() const = 0;
    // Whether this executable is the one whose descendants unpack and configure packages.
    [[nodiscard]] virtual bool isInstallDaemon(std::string_view executable) const = 0;
};

// Mounted file systems.
class Volumes {
public:
    virtual ~Volumes() = default;

    // Whether the file system mounted at this folder comes from an image file. False where nothing
    // is mounted or the system does not say.
    [[nodiscard]] virtual bool isDiskImage(const std::string& mountPoint) const = 0;
};

}
