#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

class PermissionsManager;
class Processes;
class QMPermissionsWindow;
class QMSimplePermissionsWindow;

// What a prompt on a terminal shows, read from the view model of either kind. Texts are bytes as
// they came.
struct TerminalView {
    struct Fact {
        const char* label = "";
        std::string name; // stands out; may be empty
        std::string text;
        bool warning = false;
    };
    struct Choices {
        std::vector<std::string> titles;
        std::int64_t selected = -1;
        std::int64_t recommended = -1;
        bool enabled = true;
    };
    struct Duration {
        const char* key = "";
        const char* title = "";
        bool selected = false;
    };
    struct Updates {
        bool checked = false;
        bool enabled = true;
    };

    std::string sentence;
    bool dangerous = false; // of a kind that deserves more care than others
    std::vector<Fact> facts;
    std::vector<Duration> durations;
    bool answered = true; // by keys; false where only a touch bar may answer
    bool allowHighlighted = false;

    // Of the advanced prompt only.
    bool advanced = false;
    std::optional<Choices> paths;
    std::optional<Choices> processes;
    std::string operations;
    std::optional<Updates> updates;
};

// `recommendedProcess` is the index that the prompt had chosen when it opened.
[[nodiscard]] TerminalView viewOf(const QMPermissionsWindow& prompt,
    const PermissionsManager& manager, std::int64_t recommendedProcess);
[[nodiscard]] TerminalView viewOf(const QMSimplePermissionsWindow& prompt,
    const PermissionsManager& manager, const Processes& processes);

}
