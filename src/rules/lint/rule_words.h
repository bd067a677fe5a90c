#pragma once

#include "rules/rule_statement.h"

#include <string>
#include <string_view>

// What a person probably meant by a word that a rules file does not know, as parts of messages.

namespace vossel {

// In double quotes, cut behind 40 characters.
[[nodiscard]] std::string inQuotes(std::string_view text);

// The word itself, or the one that it is but for case or one typing error; empty for none.
[[nodiscard]] std::string_view likelyClass(std::string_view word); // "set" among them
[[nodiscard]] std::string_view likelyType(std::string_view word);

// Whether other systems take a line that begins so for a comment.
[[nodiscard]] bool looksLikeComment(std::string_view word);
// Nothing but operation letters, in any case.
[[nodiscard]] bool looksLikeOperations(std::string_view word);
[[nodiscard]] bool looksLikePath(std::string_view word);

// `did you mean "allow"?`, or which words there are.
[[nodiscard]] std::string meantClass(std::string_view word);
[[nodiscard]] std::string meantType(std::string_view word);

// Why a line of too few fields is ignored, and what it lacks.
[[nodiscard]] std::string whyIgnored(const RuleFields& fields);

}
