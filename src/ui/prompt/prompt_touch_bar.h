#pragma once

#include "ui/controls/touch_bar.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vossel {

// The touch bar of a prompt, made when it is first asked for. Main thread only.
class PromptTouchBar {
public:
    struct Parts {
        std::vector<TouchBarItem> items;
        std::vector<std::string> identifiers; // of the items on the bar, from left to right
    };

    [[nodiscard]] bool exists() const { return bar_.has_value(); }
    // Calls `parts` unless the bar exists already.
    const TouchBar& make(const std::function<Parts()>& parts);
    // An item without a view for an identifier that the bar does not know, and before it is made.
    [[nodiscard]] TouchBarItem makeItemForIdentifier(std::string_view identifier) const;

private:
    std::optional<TouchBar> bar_;
    std::vector<TouchBarItem> items_;
};

// The items ".deny" and ".allow" that both prompts have.
[[nodiscard]] std::vector<TouchBarItem> decisionItems(
    std::function<void()> deny, std::function<void()> allow);

}
