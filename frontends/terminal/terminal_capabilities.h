#pragma once

#include "foundation/result.h"

#include <array>
#include <string>
#include <string_view>

namespace vossel {

// What a kind of terminal understands, by the system's terminal database (terminfo(5)). An empty
// text stands for what it does not have. Main thread only.
class TerminalCapabilities {
public:
    enum Color { Red, Green };
    static constexpr std::size_t colors = 2;

    // `type` is the value of TERM. Fails for an unknown kind, and for one whose cursor cannot be
    // moved or whose lines cannot be cleared: a prompt cannot be shown there.
    static Result<TerminalCapabilities> load(const std::string& type);

    // These lead to and from a screen beside the one that programs write on.
    std::string enterScreen;
    std::string leaveScreen;
    std::string clearScreen;
    std::string clearToEndOfLine;
    std::string saveCursor;
    std::string restoreCursor;
    std::string hideCursor;
    std::string showCursor;
    std::string wrapOff; // what goes beyond the last column stays in its row
    std::string wrapOn;
    std::string bold;
    std::string dim;
    std::string reverse;
    std::string underline;
    std::string plain; // ends these and colours
    std::array<std::string, colors> foreground;
    // A row down in the same column, the screen scrolled up at its end. Not in the database as
    // such.
    static constexpr std::string_view index = "\033D";
    // Has the terminal mark what is pasted. The database does not know it; terminals without it
    // ignore it.
    static constexpr std::string_view markPastes = "\033[?2004h";
    static constexpr std::string_view unmarkPastes = "\033[?2004l";
    // Has the terminal send its answers in seven bits, whatever a program has set, for an answer in
    // eight would not end a paste.
    static constexpr std::string_view sevenBits = "\033 F";

    // Moves the cursor to a row and a column, counted from 0.
    [[nodiscard]] std::string moveTo(int row, int column) const;
    [[nodiscard]] std::string moveUp(int rows) const;
    // Only these rows scroll from now on, counted from 0, the last included; moves the cursor.
    [[nodiscard]] std::string scrollOnly(int first, int last) const;
    [[nodiscard]] bool hasOwnScreen() const { return !enterScreen.empty() && !leaveScreen.empty(); }
    [[nodiscard]] bool canScrollPart() const { return !scrollOnly_.empty() && !saveCursor.empty(); }

private:
    std::string moveTo_;
    std::string moveUp_;
    std::string scrollOnly_;
};

}
