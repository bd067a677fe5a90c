#pragma once

#include "hosts/linux/desktop_entry.h"
#include "hosts/linux/system_files.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vossel {

// Which icon the desktop's menus show for a program that is known by its executable's path. People
// decide by this picture, so no face is better than a wrong one: entries and executables count only
// where the administrator put them (SystemFiles). A user's own entries never count, for any of the
// user's programs could write them, nor has an executable in a user's folder a face, whatever it is
// called. An entry is for the very file that its command comes to, and after that for executables
// that are called like it; not for a program that its command tells what else to run (interpreters,
// launchers). Where entries of equal standing disagree, there is no face. One thread.
class DesktopEntries {
public:
    // `dataFolders` hold "applications" each; those that come first win.
    explicit DesktopEntries(const SystemRoot& root = SystemRoot(),
        std::vector<std::string> dataFolders = systemFolders());

    // Where packages put entries, and what else the session names in XDG_DATA_DIRS; of these, too,
    // only the administrator's count.
    [[nodiscard]] static std::vector<std::string> systemFolders();

    // A name in the icon theme, or an absolute path; empty for none. Reads all entries when called
    // first and after a folder has changed.
    [[nodiscard]] std::string iconOf(std::string_view program);
    [[nodiscard]] const SystemFiles& files() const { return files_; }
    [[nodiscard]] std::size_t entryCount() const { return ids_.size(); }
    // How often the entries were read; pictures may have changed with them.
    [[nodiscard]] unsigned readings() const { return readings_; }

private:
    struct Claim {
        std::string icon;
        std::string name; // of the entry's file, without its ending
        bool listed = true;
        bool options = false;
    };
    struct FolderStamp {
        std::string folder;
        std::uint64_t inode = 0;
        std::int64_t seconds = 0;
        std::int64_t nanoseconds = 0;

        bool operator==(const FolderStamp&) const = default;
    };
    using Claims = std::unordered_map<std::string, std::vector<Claim>>;

    void refresh();
    void readFolder(const std::string& folder, const std::string& prefix, int depth);
    void addEntry(const std::string& path, const std::string& id);
    void claim(const DesktopEntry& entry, const std::string& id);
    void claimWrapped(const std::string& script, const Claim& claim);
    [[nodiscard]] std::string findProgram(const std::string& program) const;
    [[nodiscard]] FolderStamp stampOf(const std::string& folder) const;
    [[nodiscard]] static std::string chosen(
        const Claims& claims, const std::string& key, std::string_view name);

    SystemFiles files_;
    std::vector<std::string> dataFolders_;
    std::vector<FolderStamp> stamps_; // taken before the folders were read
    unsigned readings_ = 0;
    std::set<std::string> ids_;
    Claims byFile_;
    Claims byBundle_;
    Claims byName_;
};

}
