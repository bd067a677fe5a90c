#pragma once

#include "hosts/linux/file_stamp.h"
#include "hosts/linux/system_root.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vossel {

// Which package owns which file, and what the packages' publishers are called. Only a short sum of
// each path is held (8 bytes a file); the answer itself is read from the package's own list.
// Immutable once loaded.
class PackageIndex {
public:
    struct Owner {
        std::string package; // its name alone
        std::string architecture;
        std::string md5; // 32 lower-case hexadecimal digits; empty when the package names none
    };
    // Of the package database.
    using Stamp = FileStamp;

    [[nodiscard]] static Stamp stampOf(const SystemRoot& root);
    // Takes the stamp first, so that a database written meanwhile is read again.
    explicit PackageIndex(const SystemRoot& root);

    [[nodiscard]] const Stamp& stamp() const { return stamp_; }
    // By a path as the database writes it; diversions are followed.
    [[nodiscard]] std::optional<Owner> ownerOf(std::string_view path) const;
    // Who published the packages: what all package lists name as their origin, when they agree. The
    // database itself does not say where a package came from.
    [[nodiscard]] const std::string& origin() const { return origin_; }
    // Who made the distribution.
    [[nodiscard]] const std::string& vendor() const { return vendor_; }
    [[nodiscard]] std::size_t fileCount() const { return files_.size(); }

private:
    struct Diversion {
        std::string path; // the other end
        std::string by; // the package whose file lies at the original path; ":" for none
    };
    enum class Which { Any, Only, Except };

    void readStatus();
    void readLists();
    void addList(std::uint32_t package, std::string_view content);
    void readDiversions();
    void readOrigins();
    [[nodiscard]] std::optional<Owner> findOwner(
        std::string_view path, Which which, std::string_view package) const;
    [[nodiscard]] std::string infoFile(std::string_view package, std::string_view kind) const;

    SystemRoot root_;
    Stamp stamp_;
    std::vector<std::string> packages_; // as their files are called: "name" or "name:architecture"
    std::unordered_map<std::string, std::string> architectures_; // by name
    std::vector<std::uint64_t> files_; // sorted: 32 bits of the path's sum, 32 of the package
    std::unordered_map<std::string, Diversion> diverted_; // by original path
    std::unordered_map<std::string, Diversion> divertedTo_; // by where the original went
    std::string origin_;
    std::string vendor_;
};

}
