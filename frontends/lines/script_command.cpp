#include "frontends/lines/script_command.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <system_error>

namespace vossel {

namespace {

enum class Argument : std::uint8_t { None, Number, Switch };

struct Word {
    std::string_view name;
    ScriptCommand command;
    Argument argument = Argument::None;
};

ScriptCommand act(PromptAct::Kind kind)
{
    return {ScriptCommand::Kind::Act, {kind, 0}};
}

const Word words[] = {
    {"allow", act(PromptAct::Kind::Allow)},
    {"deny", act(PromptAct::Kind::Deny)},
    {"path", act(PromptAct::Kind::Path), Argument::Number},
    {"process", act(PromptAct::Kind::Process), Argument::Number},
    {"duration", act(PromptAct::Kind::Duration), Argument::Number},
    {"operations", act(PromptAct::Kind::Operations)},
    {"updates", act(PromptAct::Kind::Updates), Argument::Switch},
    {"advanced", act(PromptAct::Kind::Advanced)},
    {"state", {ScriptCommand::Kind::State}},
    {"wait", {ScriptCommand::Kind::Wait}},
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

Result<ScriptCommand> parseScriptCommand(std::string_view line)
{
    const std::string_view name = takeWord(line);
    const std::string_view argument = takeWord(line);
    const bool more = !takeWord(line).empty();
    const auto* word = std::begin(words);
    while (word != std::end(words) && word->name != name)
        ++word;
    if (word == std::end(words))
        return Failure{"there is no such command"};

    ScriptCommand command = word->command;
    if (word->argument == Argument::None) {
        if (!argument.empty())
            return Failure{"this command takes no argument"};
        return command;
    }
    const bool isNumber = word->argument == Argument::Number;
    const auto value = isNumber ? numberOf(argument) : switchOf(argument);
    if (!value || more)
        return Failure{isNumber ? "this command takes one number" : "this command takes on or off"};
    command.act.number = *value;
    // Scripts count the title entry of the processes, which cannot be chosen.
    if (command.act.kind == PromptAct::Kind::Process)
        --command.act.number;
    return command;
}

}
