#include "frontends/terminal/terminal_capabilities.h"

#define NCURSES_NOMACROS
#include <curses.h>
// After <curses.h>, on which it depends.
#include <cctype>
#include <cstdint>
#include <term.h>

namespace vossel {

namespace {

constexpr std::size_t maxType = 64;

// The name becomes part of a file's name.
bool isTypeName(std::string_view type)
{
    if (type.empty() || type.size() > maxType || type.front() == '.')
        return false;
    for (const char character : type) {
        if (!std::isalnum(static_cast<unsigned char>(character))
            && std::string_view("+-._").find(character) == std::string_view::npos)
            return false;
    }
    return true;
}

// Pauses ("$<5>") are for terminals that cannot keep up with their line; none is left.
std::string withoutPauses(std::string_view text)
{
    std::string kept;
    while (!text.empty()) {
        const std::size_t pause = text.find("$<");
        kept += text.substr(0, pause);
        if (pause == std::string_view::npos)
            break;
        const std::size_t end = text.find('>', pause);
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return kept;
}

std::string capability(const char* name)
{
    const char* text = ::tigetstr(name);
    // The library's mark for what is no text capability is the address -1.
    if (!text || reinterpret_cast<std::intptr_t>(text) == -1)
        return {};
    return withoutPauses(text);
}

std::string expand(const std::string& capability, int first, int second = 0)
{
    // The database may be the user's own: only numbers are there to be taken for.
    const bool takesText
        = capability.find("%s") != std::string::npos || capability.find("%l") != std::string::npos;
    const char* text
        = capability.empty() || takesText ? nullptr : ::tiparm(capability.c_str(), first, second);
    return text ? std::string(text) : std::string();
}

// Forgets the entry when its texts have been copied.
struct Entry {
    Entry() = default;
    ~Entry()
    {
        if (cur_term)
            ::del_curterm(cur_term);
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
};

}

Result<TerminalCapabilities> TerminalCapabilities::load(const std::string& type)
{
    if (!isTypeName(type))
        return Failure{"the kind of terminal is not said (TERM)"};
    int found = 0;
    if (::setupterm(type.c_str(), -1, &found) != OK)
        return Failure{"the kind of terminal \"" + type + "\" is not known here"};
    const Entry entry;

    TerminalCapabilities terminal;
    terminal.moveTo_ = capability("cup");
    terminal.moveUp_ = capability("cuu");
    terminal.scrollOnly_ = capability("csr");
    terminal.clearScreen = capability("clear");
    terminal.clearToEndOfLine = capability("el");
    terminal.saveCursor = capability("sc");
    terminal.restoreCursor = capability("rc");
    terminal.enterScreen = capability("smcup");
    terminal.leaveScreen = capability("rmcup");
    if (terminal.moveTo_.empty() || terminal.clearScreen.empty()
        || terminal.clearToEndOfLine.empty()
        || !(terminal.hasOwnScreen() || terminal.canScrollPart()))
        return Failure{"a terminal of the kind \"" + type + "\" cannot show a prompt"};
    terminal.hideCursor = capability("civis");
    terminal.showCursor = capability("cnorm");
    terminal.wrapOff = capability("rmam");
    terminal.wrapOn = capability("smam");
    terminal.bold = capability("bold");
    terminal.dim = capability("dim");
    terminal.reverse = capability("rev");
    terminal.underline = capability("smul");
    terminal.plain = capability("sgr0");
    // Without a way back to plain text nothing may be marked.
    if (terminal.plain.empty())
        terminal.bold = terminal.dim = terminal.reverse = terminal.underline = {};
    if (!terminal.plain.empty() && ::tigetnum("colors") >= 8) {
        const std::string colour = capability("setaf");
        terminal.foreground = {expand(colour, COLOR_RED), expand(colour, COLOR_GREEN)};
    }
    return terminal;
}

std::string TerminalCapabilities::moveTo(int row, int column) const
{
    return expand(moveTo_, row, column);
}

std::string TerminalCapabilities::moveUp(int rows) const
{
    return rows > 0 ? expand(moveUp_, rows) : std::string();
}

std::string TerminalCapabilities::scrollOnly(int first, int last) const
{
    return expand(scrollOnly_, first, last);
}

}
