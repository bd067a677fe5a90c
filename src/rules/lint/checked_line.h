#pragma once

#include "rules/lint/rules_check.h"
#include "rules/rule_statement.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace vossel {

// One line of a rules file, as it is taken.
struct CheckedLine {
    std::size_t number = 0;
    std::size_t column = 1; // of its first field
    // Policy or Watch for a rule that may be compared with others. What was meant as a comment or
    // as an option is not, though it may be read as a rule.
    StatementKind statement = StatementKind::None;
    RuleFields fields = {};
};

// Appends what is wrong with the line by itself. Its text is valid UTF-8; a view into it is kept.
[[nodiscard]] CheckedLine checkLine(std::string_view text, std::size_t number,
    const RulesKind& kind, std::vector<Finding>& findings);

// Of valid UTF-8.
[[nodiscard]] std::size_t charactersIn(std::string_view text);

}
