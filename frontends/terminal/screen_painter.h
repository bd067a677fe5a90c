#pragma once

#include "frontends/terminal/screen_row.h"
#include "frontends/terminal/terminal_capabilities.h"
#include "frontends/terminal/terminal_device.h"

#include <optional>
#include <string>
#include <vector>

namespace vossel {

// Draws screens on a terminal and gives it back as it was. Draws only what has changed, and nothing
// outside of its area. Main thread only; terminal and capabilities outlive it.
class ScreenPainter {
public:
    enum class Place {
        OwnScreen, // on a screen of its own: what programs have written stays behind it, unseen
        Bottom, // on the last rows: what programs write meanwhile goes on above them
        Over, // over a program that draws the whole screen itself, and draws it again afterwards
    };

    ScreenPainter(TerminalDevice& device, const TerminalCapabilities& terminal, Place place);

    // The part of the terminal that can be painted on now.
    [[nodiscard]] TerminalSize area() const;
    // Between begin() and end(). `screen` has been laid out for area().
    void begin();
    // False when the terminal takes nothing now: paint again when it does.
    bool paint(const Screen& screen);
    void end();
    // The terminal has another size: everything is painted anew.
    void resized();

private:
    [[nodiscard]] std::string draw(const ScreenRow& row) const;
    [[nodiscard]] std::string beginOf(Style style) const;
    [[nodiscard]] std::string changes(const Screen& screen);
    [[nodiscard]] std::string takeBottom(int rows);
    [[nodiscard]] std::string leaveBottom();
    [[nodiscard]] std::string paintBottom(const Screen& screen);

    TerminalDevice& device_;
    const TerminalCapabilities& terminal_;
    const Place place_;
    TerminalSize size_;
    int top_ = 0;
    int left_ = 0;
    int bottomRows_ = 0; // taken at the bottom
    std::vector<std::string> shown_; // row by row, as it was sent
    std::optional<CursorPlace> cursor_;
};

}
