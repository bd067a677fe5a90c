#pragma once

#include "foundation/result.h"
#include "rules/rule_statement.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// What looks wrong in a rules file, though reading it never fails: lines that say nothing or
// something else than their writer meant. The check owns its findings alone; it must not change
// what it reads, nor take part in how rules are read or decide.
enum class FindingCode : std::uint8_t {
    Ignored,
    UnterminatedQuote,
    TabSeparator,
    UnknownClass,
    UnknownType,
    NoOperations,
    SetInUserFile,
    Duplicate,
    Redundant,
    NotUtf8,
    Nul,
    Symlink,
    IndentedComment,
};
// A short stable word, such as "unknown-class".
[[nodiscard]] std::string_view nameOf(FindingCode code);

struct Finding {
    // Both from 1. Lines are the reader's, so that each break of RuleLines counts, in a CR LF both;
    // columns are characters.
    std::size_t line = 1;
    std::size_t column = 1;
    FindingCode code = FindingCode::Ignored;
    std::string message; // a sentence or two without capital and full stop, as compilers write
    std::optional<std::size_t> by = std::nullopt; // the line of the rule that is meant instead
};

// By line and column. Takes time in proportion to the content, but for paths that lie very deep in
// one another.
[[nodiscard]] std::vector<Finding> checkRules(std::string_view content, const RulesKind& kind);

struct CheckedFile {
    std::vector<Finding> findings;
    // Not only U+000A ends its lines, so that an editor may number them otherwise.
    bool hasOtherBreaks = false;
};
// Options are taken to be read from system rules whose file is named like a main system rules file,
// wherever it lies. A symbolic link is a finding; fails when there is nothing that can be read.
[[nodiscard]] Result<CheckedFile> checkRulesFile(const std::string& path, bool system);

}
