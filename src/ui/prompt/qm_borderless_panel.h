#pragma once

#include "ui/controls/window.h"
#include "ui/prompt/input_event.h"
#include "ui/prompt/prompt_context.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace vossel {

class PermissionsManager;

// The window of a prompt: it takes the keyboard though the agent is not the active application, and
// turns keys into commands that the broker forwards to the open prompt. Main thread only.
class QMBorderlessPanel final : public Window {
public:
    QMBorderlessPanel(const PromptContext& context, WindowState state)
        : Window(std::move(state))
        , context_(context)
    {
    }

    // These answer the window system, whatever the state says.
    [[nodiscard]] static constexpr bool hidesOnDeactivate() { return false; }
    [[nodiscard]] static constexpr bool isOpaque() { return true; }
    [[nodiscard]] static constexpr bool isVisible() { return true; }
    [[nodiscard]] static constexpr bool canBecomeMainWindow() { return true; }
    [[nodiscard]] static constexpr bool canBecomeVisibleWithoutLogin() { return true; }
    [[nodiscard]] static constexpr bool isModalPanel() { return true; }
    [[nodiscard]] static constexpr bool worksWhenModal() { return true; }
    [[nodiscard]] static constexpr bool canBecomeKeyWindow() { return true; }

    // A key that is no command sounds. The prompt, and this window with it, may be gone when this
    // returns. Nothing happens while the window does not have the keyboard.
    void keyDown(const KeyEvent& event) const;
    // Whether a key of this source is refused, and the user has been told; keyDown() asks by
    // itself.
    [[nodiscard]] bool refuses(const EventSource& source) const;
    // Highlights Allow while Command is held.
    void flagsChanged(const ModifierEvent& event) const;

private:
    void commandKeyDown(std::string_view characters) const;
    void plainKeyDown(std::uint16_t keyCode) const;
    void decide(void (PermissionsManager::*click)()) const;
    void selectForever() const;

    const PromptContext context_;
};

}
