#pragma once

#include "foundation/mutex.h"
#include "hosts/linux/system_root.h"
#include "wire/driver_messages.h"

#include <memory>
#include <string>
#include <string_view>

namespace vossel {

class PackageIndex;

// Who made a program. Texts are empty where nothing is known.
struct ProgramIdentity {
    CodeSignState state = CODE_SIGN_ERROR;
    std::string identifier; // "package:architecture" of the package that owns the file
    std::string team; // who published the package; only while the file is as they made it
    std::string signerText; // for a person: "Debian package coreutils"
    bool platform = false; // the distribution's own, unchanged, root's, below /usr
    int error = 0; // errno behind CODE_SIGN_ERROR

    bool operator==(const ProgramIdentity&) const = default;
};

// Identifies programs by the package database, Debian's stand-in for code signatures: valid is a
// file whose content has the sum that its package came with. That protects against accidents and
// other users, not against root, who can rewrite both, or install anything: a package installed by
// hand counts like the others. While packages are being installed their new files may be unknown
// until the database is written. Any thread; nothing is cached but where each package's files are
// listed, read again when the database has changed.
class PackageIdentity {
public:
    // `root` holds /var/lib/dpkg, /var/lib/apt/lists and the programs.
    explicit PackageIdentity(std::string_view root = "/");
    ~PackageIdentity();
    PackageIdentity(const PackageIdentity&) = delete;
    PackageIdentity& operator=(const PackageIdentity&) = delete;

    // The file that `path` leads to, symbolic links followed. Reads all of it.
    [[nodiscard]] ProgramIdentity identify(const std::string& path) const;
    // The open file `fd`, known by its real path: what a process runs, whatever lies there by now.
    // Reads from the file's start and leaves its position alone.
    [[nodiscard]] ProgramIdentity identify(const std::string& path, int fd) const;

private:
    [[nodiscard]] std::shared_ptr<const PackageIndex> index() const;

    SystemRoot root_;
    mutable Mutex lock_;
    mutable std::shared_ptr<const PackageIndex> index_ VOSSEL_GUARDED_BY(lock_);
};

}
