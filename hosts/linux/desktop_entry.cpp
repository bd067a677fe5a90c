#include "hosts/linux/desktop_entry.h"

#include "foundation/path_text.h"
#include "foundation/utf8.h"

#include <algorithm>
#include <array>

namespace vossel {

namespace {

constexpr std::size_t maxValueSize = 4096;

std::string_view trimmed(std::string_view text)
{
    const auto from = text.find_first_not_of(" \t\r");
    if (from == std::string_view::npos)
        return {};
    return text.substr(from, text.find_last_not_of(" \t\r") - from + 1);
}

// The escapes that any value of such a file may have. Others stay: they are the command's own.
std::string unescaped(std::string_view value)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        static constexpr std::string_view letters = "sntr\\";
        static constexpr std::string_view meanings = " \n\t\r\\";
        const auto which = value[i] == '\\' && i + 1 < value.size() ? letters.find(value[i + 1])
                                                                    : std::string_view::npos;
        if (which != std::string_view::npos)
            ++i;
        text += which == std::string_view::npos ? value[i] : meanings[which];
    }
    return text;
}

// An icon's name or path that a look-up may be tried with; empty for none.
std::string checkedIcon(std::string icon)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    if (icon.empty() || !isValidUtf8(icon) || std::any_of(icon.begin(), icon.end(), isControl))
        return {};
    if (icon.front() == '/')
        return icon;
    if (icon.find('/') != std::string::npos)
        return {};
    // An ending has no place in a name, and is there all the same in many entries.
    for (const std::string_view ending : {".png", ".svg", ".xpm"})
        if (icon.size() > ending.size() && icon.ends_with(ending))
            icon.resize(icon.size() - ending.size());
    return icon;
}

struct Values {
    std::string type, icon, command, tried, flatpak, snap, hidden, undisplayed;

    std::string* of(std::string_view key)
    {
        const std::array<std::pair<std::string_view, std::string*>, 8> known = {{{"Type", &type},
            {"Icon", &icon}, {"Exec", &command}, {"TryExec", &tried}, {"X-Flatpak", &flatpak},
            {"X-SnapInstanceName", &snap}, {"Hidden", &hidden}, {"NoDisplay", &undisplayed}}};
        for (const auto& [name, value] : known)
            if (name == key)
                return value;
        return nullptr;
    }
};

// Collects the words of a command.
class Words {
public:
    void add(char c)
    {
        word_ += c;
        begun_ = true;
    }
    // A quoted word may be empty.
    void begin() { begun_ = true; }
    // A word that was nothing but places for files is none.
    void end()
    {
        if (begun_)
            words_.push_back(std::move(word_));
        word_.clear();
        begun_ = false;
    }
    [[nodiscard]] std::vector<std::string> take() { return std::move(words_); }

private:
    std::vector<std::string> words_;
    std::string word_;
    bool begun_ = false;
};

}

std::optional<DesktopEntry> parseDesktopEntry(std::string_view content)
{
    Values values;
    bool inside = false;
    while (!content.empty()) {
        const auto end = std::min(content.find('\n'), content.size());
        const std::string_view line = trimmed(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
        if (line.starts_with('[')) {
            if (inside)
                break;
            inside = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!inside || line.starts_with('#') || equals == std::string_view::npos)
            continue;
        std::string* value = values.of(trimmed(line.substr(0, equals)));
        const std::string_view text = trimmed(line.substr(equals + 1));
        if (value && text.size() <= maxValueSize && text.find('\0') == std::string_view::npos)
            *value = unescaped(text);
    }
    DesktopEntry entry;
    entry.icon = checkedIcon(std::move(values.icon));
    if (values.type != "Application" || entry.icon.empty())
        return std::nullopt;
    // An application that is started by a message has no command.
    if (values.command.empty() && !values.tried.empty())
        values.command = "\"" + values.tried + "\"";
    entry.command = std::move(values.command);
    if (!values.flatpak.empty())
        entry.bundle = "flatpak/" + values.flatpak;
    else if (!values.snap.empty())
        entry.bundle = "snap/" + values.snap;
    entry.listed = values.hidden != "true" && values.undisplayed != "true";
    return entry;
}

std::optional<std::vector<std::string>> commandWords(std::string_view command)
{
    Words words;
    bool quoted = false;
    for (std::size_t i = 0; i < command.size(); ++i) {
        const char c = command[i];
        const bool more = i + 1 < command.size();
        if (c == '"') {
            quoted = !quoted;
            words.begin();
        } else if (c == '\\') {
            if (!more)
                return std::nullopt;
            words.add(command[++i]);
        } else if (quoted) {
            words.add(c);
        } else if (c == ' ' || c == '\t' || c == '\n') {
            words.end();
        } else if (c != '%') {
            words.add(c);
        } else if (!more) {
            return std::nullopt;
        } else if (command[++i] == '%') {
            words.add('%');
        }
    }
    words.end();
    return quoted ? std::nullopt : std::optional(words.take());
}

StartedProgram startedProgram(const std::vector<std::string>& words)
{
    StartedProgram started;
    auto word = words.begin();
    if (word != words.end() && lastPathComponent(*word) == "env") {
        ++word;
        while (word != words.end() && word->find('=') != std::string::npos)
            ++word;
    }
    // What options of "env" do to its words is not worth guessing.
    if (word == words.end() || word->empty() || word->front() == '-')
        return started;
    started.program = *word;
    for (++word; word != words.end(); ++word) {
        const bool option = word->starts_with('-');
        started.options = started.options || option;
        started.onlyItself = started.onlyItself && option;
    }
    return started;
}

bool areKin(std::string_view left, std::string_view right)
{
    if (left.size() > right.size())
        std::swap(left, right);
    if (left.empty() || !right.starts_with(left))
        return false;
    const char next = right.size() > left.size() ? right[left.size()] : '-';
    return (next < 'a' || next > 'z') && (next < 'A' || next > 'Z');
}

}
