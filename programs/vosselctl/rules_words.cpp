#include "foundation/files.h"
#include "foundation/utf8.h"
#include "programs/vosselctl/rules_commands.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>

namespace vossel {

namespace {

struct IdentityOptions {
    std::string name;
    std::string constraint;
    bool pretty = false;
};

void addFields(Output& output, std::string_view line)
{
    auto fields = Json::array();
    for (const auto& field : scanString(line))
        fields.push_back(toValidUtf8(field));
    output.add(fields, false);
}

// Answers what has arrived before it waits for more, so that a program may ask line by line.
Result<bool> scanInput()
{
    Output output;
    std::string line; // without its end so far
    std::array<char, 65'536> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
    for (;;) {
        const auto count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return Failure{"standard input: " + errorText(errno)};
        if (count == 0)
            break;
        std::string_view arrived(bytes.data(), static_cast<std::size_t>(count));
        for (auto end = arrived.find('\n'); end != std::string_view::npos;
             end = arrived.find('\n')) {
            addFields(output, line += arrived.substr(0, end));
            line.clear();
            arrived.remove_prefix(end + 1);
        }
        line += arrived;
        if (auto written = output.finish(); !written)
            return written;
    }
    if (!line.empty())
        addFields(output, line);
    return output.finish();
}

Json orNull(const std::optional<std::string>& text)
{
    return text ? Json(toValidUtf8(*text)) : Json();
}

Result<bool> showIdentity(const IdentityOptions& options)
{
    PolicyRule rule;
    rule.setProcessName(options.name);
    rule.setConstraint(options.constraint);
    return writeJson(
        Json{
            {"name", toValidUtf8(applicationNameForRule(rule))},
            {"group", toValidUtf8(applicationGroupIdentityForRule(rule))},
            {"path", toValidUtf8(applicationPathForRule(rule))},
            {"bundlePath", toValidUtf8(applicationBundlePathForRule(rule))},
            {"parentPath", orNull(applicationParentPathForRule(rule))},
            {"parentName", orNull(applicationParentNameForRule(rule))},
        },
        options.pretty);
}

}

void addRulesWords(CLI::App& rules, CommandLine& line)
{
    rules
        .add_subcommand(
            "scan", "Cut lines of standard input into fields, as lines of rules files are")
        ->callback([&line] { line.chosen = scanInput; });

    const auto options = std::make_shared<IdentityOptions>();
    auto* identity = rules.add_subcommand(
        "identity", "Print as JSON which application a rule's process name stands for");
    identity->add_option("NAME", options->name, "Such as any, /bin/cp or \"/bin/cp via /bin/sh\"")
        ->required();
    identity->add_option("--constraint", options->constraint, "The rule's code identity");
    identity->add_flag("--pretty", options->pretty, "Several lines, indented");
    identity->callback(
        [options, &line] { line.chosen = [options] { return showIdentity(*options); }; });
}

}
