#pragma once

#include "ui/controls/touch_bar.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace vossel {

// The touch bar of a prompt, made when it is first asked for. Main thread only.
class PromptTouchBar {
public:
    struct Parts {
        std::vector<TouchBarItem> items;
        std::vector<std::string> identifiers; // of the items on the bar, from left to right
    };

    // `parts` is called when the bar is made.
    explicit PromptTouchBar(std::function<Parts()> parts)
        : parts_(std::move(parts))
    {
    }

    const TouchBar& touchBar();
    const TouchBar& makeTouchBar();
    // An item without a view for an identifier that the bar does not know, and before it is made.
    [[nodiscard]] TouchBarItem makeItemForIdentifier(std::string_view identifier) const;

private:
    const std::function<Parts()> parts_;
    std::optional<TouchBar> bar_;
    std::vector<TouchBarItem> items_;
};

// An action that does nothing once the prompt has gone.
template <class Prompt, class Act>
[[nodiscard]] std::function<void()> actionOn(std::weak_ptr<Prompt> prompt, Act act)
{
    return [prompt = std::move(prompt), act] {
        if (const auto self = prompt.lock())
            std::invoke(act, *self);
    };
}

// The items ".deny" and ".allow" that both prompts have.
[[nodiscard]] std::vector<TouchBarItem> decisionItems(
    std::function<void()> deny, std::function<void()> allow);

template <class Prompt>
[[nodiscard]] std::vector<TouchBarItem> decisionItems(const std::weak_ptr<Prompt>& prompt)
{
    return decisionItems(
        actionOn(prompt, &Prompt::clickedDeny), actionOn(prompt, &Prompt::clickedAllow));
}

}
