#include "programs/vosselctl/rules_commands.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace vossel {

namespace {

struct Options {
    std::vector<std::string> files;
    std::string filter;
    bool system = false;
    bool json = false;
    bool pretty = false;
};

// A column of the table, which is left out when all its cells are empty.
struct Column {
    std::string_view title;
    std::string (*cell)(const Rule& rule);
    std::size_t width = 0; // of its widest cell, as far as cells are aligned
};

std::string constraintOf(const Rule& rule)
{
    const auto* policy = dynamic_cast<const PolicyRule*>(&rule);
    return std::string(policy ? policy->constraint() : std::string_view());
}

std::string quotedWhereEmpty(std::string_view text)
{
    return text.empty() ? "\"\"" : std::string(text);
}

std::array<Column, 8> tableColumns()
{
    return {{
        {"CLASS",
            [](const Rule& rule) {
                return std::string(PolicyRule::policyClassDescription(rule.getPolicyClass()));
            }},
        {"TYPE",
            [](const Rule& rule) {
                return std::string(PolicyRule::policyTypeDescription(rule.policyType()));
            }},
        {"OPS", [](const Rule& rule) { return operationsForRule(rule); }},
        {"FLAGS", [](const Rule& rule) { return flagsForInteger(rule.flags()); }},
        {"PATH", [](const Rule& rule) { return quotedWhereEmpty(rule.path()); }},
        {"PROCESS", [](const Rule& rule) { return quotedWhereEmpty(rule.processName()); }},
        {"TAG", [](const Rule& rule) { return std::string(rule.tag()); }},
        {"CONSTRAINT", constraintOf},
    }};
}

// The widest that a column is made for the sake of alignment: longer texts push what follows.
std::size_t maxAlignedWidth()
{
    constexpr std::size_t narrowest = 20;
    constexpr std::size_t whereUnknown = 48;
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return whereUnknown;
    return std::max<std::size_t>(size.ws_col / 2, narrowest);
}

void addRow(Output& output, const std::vector<Column>& columns, const auto& cellOf)
{
    std::string row;
    std::size_t missing = 0; // blanks, which no row ends with
    for (const auto& column : columns) {
        const auto cell = harmless(cellOf(column));
        if (cell.columns > 0) {
            row.append(missing, ' ').append(cell.bytes);
            missing = 0;
        }
        constexpr std::size_t gap = 2;
        missing += std::max(column.width, cell.columns) - cell.columns + gap;
    }
    output.add(row += '\n');
}

Result<bool> printTable(const RuleManager& rules)
{
    const auto count = rules.totalRules(true);
    const auto maxWidth = maxAlignedWidth();
    auto all = tableColumns();
    for (std::size_t i = 0; i < count; ++i)
        for (auto& column : all)
            if (const auto width = harmless(column.cell(rules.ruleAtIndex(i, true))).columns;
                width > column.width)
                column.width = std::min(width, maxWidth);
    std::vector<Column> columns;
    for (auto& column : all) {
        if (column.width > 0)
            columns.push_back(column);
    }
    Output output;
    if (::isatty(STDOUT_FILENO) != 0 && count > 0) {
        for (auto& column : columns)
            column.width = std::max(column.width, column.title.size());
        addRow(output, columns, [](const Column& column) { return std::string(column.title); });
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto& rule = rules.ruleAtIndex(i, true);
        addRow(output, columns, [&rule](const Column& column) { return column.cell(rule); });
    }
    return output.finish();
}

Result<bool> listRules(const Options& options, const std::string& prefix)
{
    auto rules = loadRules(
        options.files, options.system ? ReadAs::SystemRules : ReadAs::UserRules, prefix);
    if (!rules)
        return Failure{rules.reason()};
    auto& store = **rules;
    store.applyFilterWithString(options.filter);
    if (!options.json)
        return printTable(store);
    Output output;
    for (std::size_t i = 0; i < store.totalRules(true); ++i)
        output.add(ruleJson(store.ruleAtIndex(i, true)), options.pretty);
    return output.finish();
}

}

void addRulesList(CLI::App& rules, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    auto* list = rules.add_subcommand("list", "Show the rules of files as they are taken");
    list->add_option("FILE", options->files, "Rules files, read one after the other")->required();
    list->add_flag("--system", options->system, "Read them as system rules (flags, no tags)");
    list->add_option("--filter", options->filter,
        "Only rules with this text in path, process or tag, in capitals or not");
    auto* json = list->add_flag("--json", options->json, "One object a line");
    list->add_flag("--pretty", options->pretty, "JSON in several lines, indented")->needs(json);
    list->callback([options, &line] {
        line.chosen = [options, &line] { return listRules(*options, line.prefix); };
    });
}

}
