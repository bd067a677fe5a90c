#pragma once

#include "frontends/terminal/terminal_text.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// What a piece of a row means; a terminal shows it as it can, and plainly where it cannot.
enum class Style : std::uint8_t { Plain, Dim, Strong, Title, Warning, Chosen, Allow, Deny, Escape };

struct Span {
    std::string text; // safe to send to a terminal
    Style style = Style::Plain;

    bool operator==(const Span&) const = default;
};

// One row of a screen, put together from the left; what goes beyond its width is left out.
class ScreenRow {
public:
    explicit ScreenRow(std::size_t width)
        : width_(width)
    {
    }

    // Pieces that had to be escaped stand out from the rest.
    ScreenRow& add(const Glyphs& glyphs, Style style = Style::Plain);
    // `text` is one of this program's own: printable ASCII.
    ScreenRow& add(std::string_view text, Style style = Style::Plain);
    // Adds blanks up to a column; adds nothing where the row is that long already.
    ScreenRow& padTo(std::size_t column, Style style = Style::Plain);

    [[nodiscard]] std::size_t columns() const { return columns_; }
    [[nodiscard]] std::size_t room() const { return width_ - columns_; }
    [[nodiscard]] const std::vector<Span>& spans() const { return spans_; }
    bool operator==(const ScreenRow&) const = default;

private:
    void append(std::string_view text, std::size_t columns, Style style);

    std::size_t width_;
    std::size_t columns_ = 0;
    std::vector<Span> spans_;
};

struct CursorPlace {
    int row = 0;
    int column = 0;

    bool operator==(const CursorPlace&) const = default;
};

// What stands on a terminal, from its upper left corner.
struct Screen {
    std::vector<ScreenRow> rows;
    std::optional<CursorPlace> cursor; // shown there; hidden without

    bool operator==(const Screen&) const = default;
};

}
