#include "frontends/lines/line_command.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>

namespace vossel {

namespace {

enum class Argument { None, Number, Switch };

struct Word {
    std::string_view name;
    LineCommand::Kind kind;
    Argument argument;
};

constexpr Word words[] = {
    {"allow", LineCommand::Kind::Allow, Argument::None},
    {"deny", LineCommand::Kind::Deny, Argument::None},
    {"path", LineCommand::Kind::Path, Argument::Number},
    {"process", LineCommand::Kind::Process, Argument::Number},
    {"duration", LineCommand::Kind::Duration, Argument::Number},
    {"operations", LineCommand::Kind::Operations, Argument::None},
    {"updates", LineCommand::Kind::Updates, Argument::Switch},
    {"advanced", LineCommand::Kind::Advanced, Argument::None},
    {"state", LineCommand::Kind::State, Argument::None},
    {"wait", LineCommand::Kind::Wait, Argument::None},
};

std::string_view takeWord(std::string_view& text)
{
    constexpr std::string_view blanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(blanks));
    text.remove_prefix(word.size());
    return word;
}

std::optional<std::int32_t> numberOf(std::string_view text)
{
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || text.front() == '-')
        return std::nullopt;
    return number;
}

std::optional<std::int32_t> switchOf(std::string_view text)
{
    if (text == "on")
        return 1;
    if (text == "off")
        return 0;
    return std::nullopt;
}

}

Result<LineCommand> parseLineCommand(std::string_view line)
{
    const std::string_view name = takeWord(line);
    const std::string_view argument = takeWord(line);
    const bool more = !takeWord(line).empty();
    const auto* word = std::begin(words);
    while (word != std::end(words) && word->name != name)
        ++word;
    if (word == std::end(words))
        return Failure{"there is no such command"};

    LineCommand command{word->kind, 0};
    if (word->argument == Argument::None) {
        if (!argument.empty())
            return Failure{"this command takes no argument"};
        return command;
    }
    const bool isNumber = word->argument == Argument::Number;
    const auto value = isNumber ? numberOf(argument) : switchOf(argument);
    if (!value || more)
        return Failure{isNumber ? "this command takes one number" : "this command takes on or off"};
    command.number = *value;
    return command;
}

void LineSplitter::feed(std::string_view bytes, const Handler& handler)
{
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\n');
        append(bytes.substr(0, end), handler);
        if (end == std::string_view::npos)
            return;
        endLine(handler);
        bytes.remove_prefix(end + 1);
    }
}

void LineSplitter::finish(const Handler& handler)
{
    if (!line_.empty() || skipping_)
        endLine(handler);
}

void LineSplitter::append(std::string_view piece, const Handler& handler)
{
    if (skipping_)
        return;
    const std::size_t room = longestLine - line_.size();
    line_ += piece.substr(0, room);
    if (piece.size() <= room)
        return;
    skipping_ = true;
    handler(std::string_view(line_).substr(0, shownOfLongLine), true);
    line_.clear();
}

void LineSplitter::endLine(const Handler& handler)
{
    if (!skipping_) {
        if (!line_.empty() && line_.back() == '\r')
            line_.pop_back();
        handler(line_, false);
    }
    line_.clear();
    skipping_ = false;
}

}
