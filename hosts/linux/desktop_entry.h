#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// What an entry of the desktop's menus says of the program that it starts. Values; any thread.
struct DesktopEntry {
    std::string icon; // a name in the icon theme, or an absolute path
    std::string command; // as it is written; empty for none
    std::string bundle; // "flatpak/ID" or "snap/NAME" of an application in a tree of its own
    bool listed = true; // shown in menus
};

// Nothing when it is no application's entry, or names no icon that could be looked up.
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(std::string_view content);

// The words of a command by the quoting rules of desktop entries, without the places where files
// and addresses go ("%U"). Nothing when it is malformed.
[[nodiscard]] std::optional<std::vector<std::string>> commandWords(std::string_view command);

// What a command runs once a leading "env VARIABLE=x" is passed over.
struct StartedProgram {
    std::string program; // a path, or a name to search for; empty for none
    bool options = false; // it is given some
    bool onlyItself = true; // not: it is told what else to run or open
};
[[nodiscard]] StartedProgram startedProgram(const std::vector<std::string>& words);

// Whether one name is the other with something behind it that no letter begins: "vim.basic" and
// "vim", "python" and "python3.11".
[[nodiscard]] bool areKin(std::string_view left, std::string_view right);

}
