#pragma once

#include "platform/window_system.h"

namespace vossel {

// The window system of an agent that asks without windows: no keyboard of its own, nothing to
// activate. Texts are measured as on a terminal, where every character is as wide as every other.
class NoWindows final : public WindowSystem {
public:
    [[nodiscard]] bool commandKeyHeld() const override { return false; }
    [[nodiscard]] double textWidth(std::string_view text, float fontSize) const override;
    void storeProgramIcon(const std::string&, const std::string&) override { }
    void activateApplication() override { }
    void deactivateApplication() override { }
    void hideApplication() override { }
};

}
