#include "frontends/terminal/screen_painter.h"

#include <algorithm>

namespace vossel {

namespace {

// One column is left free on either side: a terminal may begin a new line behind its last column.
constexpr int margins = 2;
constexpr int maxColumns = 98; // longer lines are hard to follow

}

ScreenPainter::ScreenPainter(
    TerminalDevice& device, const TerminalCapabilities& terminal, Place place)
    : device_(device)
    , terminal_(terminal)
    , place_(place)
{
}

TerminalSize ScreenPainter::area() const
{
    // At the bottom, a quarter of the rows at least is left to what stood there.
    const int rows
        = place_ == Place::Bottom ? size_.rows - std::max(1, size_.rows / 4) : size_.rows;
    return {std::clamp(size_.columns - margins, 1, maxColumns), std::max(rows, 1)};
}

void ScreenPainter::begin()
{
    size_ = device_.size();
    if (place_ == Place::OwnScreen)
        device_.write(terminal_.enterScreen + std::string(TerminalCapabilities::sevenBits)
            + std::string(TerminalCapabilities::markPastes));
    if (place_ == Place::Over)
        device_.write(terminal_.saveCursor);
    if (place_ != Place::Bottom)
        device_.write(terminal_.hideCursor + terminal_.plain + terminal_.clearScreen);
}

void ScreenPainter::end()
{
    switch (place_) {
    case Place::OwnScreen:
        device_.write(terminal_.plain + std::string(TerminalCapabilities::unmarkPastes)
            + terminal_.showCursor + terminal_.leaveScreen);
        break;
    case Place::Over:
        device_.write(terminal_.plain + terminal_.clearScreen + terminal_.restoreCursor
            + terminal_.showCursor);
        break;
    case Place::Bottom:
        device_.write(leaveBottom());
        break;
    }
    device_.drain();
}

void ScreenPainter::resized()
{
    size_ = device_.size();
    shown_.clear();
    if (place_ != Place::Bottom) {
        device_.write(terminal_.plain + terminal_.clearScreen);
        return;
    }
    // The rows may have moved anywhere, and what stands in their place may be another program's: it
    // is left alone.
    bottomRows_ = 0;
    device_.write(
        terminal_.saveCursor + terminal_.scrollOnly(0, size_.rows - 1) + terminal_.restoreCursor);
}

bool ScreenPainter::paint(const Screen& screen)
{
    if (!device_.write({}))
        return false;
    if (place_ == Place::Bottom)
        return device_.write(paintBottom(screen));
    left_ = (size_.columns - area().columns) / 2;
    const int top = std::max(0, (size_.rows - static_cast<int>(screen.rows.size())) / 2);
    std::string bytes;
    if (top != top_) {
        bytes = terminal_.clearScreen;
        shown_.clear();
    }
    top_ = top;
    bytes += changes(screen);
    if (!bytes.empty() || screen.cursor != cursor_)
        bytes += screen.cursor
            ? terminal_.moveTo(top_ + screen.cursor->row, left_ + screen.cursor->column)
                + terminal_.showCursor
            : terminal_.hideCursor;
    cursor_ = screen.cursor;
    return device_.write(bytes);
}

// The cursor stays with the program that writes above, so all of it is one writing, into which no
// other falls.
std::string ScreenPainter::paintBottom(const Screen& screen)
{
    left_ = 0;
    std::string bytes;
    const int rows = std::min(static_cast<int>(screen.rows.size()), size_.rows - 1);
    if (rows > bottomRows_) {
        bytes = leaveBottom();
        bytes += takeBottom(rows);
        shown_.clear();
    }
    const std::string changed = changes(screen);
    if (!changed.empty())
        bytes += terminal_.saveCursor + terminal_.plain + changed + terminal_.restoreCursor;
    return bytes;
}

// Moves what stands on the rows above up, as far as needed, and lets them scroll by themselves.
std::string ScreenPainter::takeBottom(int rows)
{
    bottomRows_ = rows;
    top_ = size_.rows - rows;
    std::string bytes;
    for (int row = 0; row < rows; ++row)
        bytes += TerminalCapabilities::index;
    bytes += terminal_.moveUp(rows) + terminal_.saveCursor + terminal_.plain;
    for (int row = top_; row < size_.rows; ++row)
        bytes += terminal_.moveTo(row, 0) + terminal_.clearToEndOfLine;
    return bytes + terminal_.scrollOnly(0, top_ - 1) + terminal_.restoreCursor;
}

std::string ScreenPainter::leaveBottom()
{
    if (bottomRows_ == 0)
        return {};
    std::string bytes = terminal_.saveCursor + terminal_.plain;
    for (int row = top_; row < size_.rows; ++row)
        bytes += terminal_.moveTo(row, 0) + terminal_.clearToEndOfLine;
    bottomRows_ = 0;
    return bytes + terminal_.scrollOnly(0, device_.size().rows - 1) + terminal_.restoreCursor;
}

// Brings the rows that have changed up to date. Terminals disagree about the width of some
// characters: a row that gets too wide must not go on in the next one.
std::string ScreenPainter::changes(const Screen& screen)
{
    std::string bytes;
    const std::size_t count = std::max(screen.rows.size(), shown_.size());
    shown_.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::string row = i < screen.rows.size() ? draw(screen.rows[i]) : std::string();
        if (row == shown_[i])
            continue;
        bytes += terminal_.moveTo(top_ + static_cast<int>(i), left_) + row
            + terminal_.clearToEndOfLine;
        shown_[i] = std::move(row);
    }
    return bytes.empty() ? bytes : terminal_.wrapOff + bytes + terminal_.wrapOn;
}

std::string ScreenPainter::draw(const ScreenRow& row) const
{
    std::string bytes;
    for (const Span& span : row.spans()) {
        const std::string begin = beginOf(span.style);
        bytes += begin + span.text + (begin.empty() ? std::string() : terminal_.plain);
    }
    return bytes;
}

std::string ScreenPainter::beginOf(Style style) const
{
    switch (style) {
    case Style::Plain:
        return {};
    case Style::Dim:
        return terminal_.dim;
    case Style::Strong:
        return terminal_.bold;
    case Style::Title:
        return terminal_.reverse;
    case Style::Warning:
        return terminal_.bold + terminal_.foreground[TerminalCapabilities::Red];
    case Style::Chosen:
        return terminal_.bold + terminal_.reverse;
    case Style::Allow:
        return terminal_.foreground[TerminalCapabilities::Green];
    case Style::Deny:
        return terminal_.foreground[TerminalCapabilities::Red];
    case Style::Escape:
        return terminal_.underline;
    }
    return {};
}

}
