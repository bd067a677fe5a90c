#include "rules/lint/rule_words.h"

#include "rules/rule_vocabulary.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace vossel {

namespace {

constexpr std::array<std::string_view, 4> classWords = {"allow", "deny", "watch", "set"};
constexpr std::array<std::string_view, 3> typeWords = {"prefix", "path", "suffix"};

std::string lowered(std::string_view text)
{
    std::string lower(text);
    for (auto& letter : lower)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

// Whether one letter more, less or other, or two that changed places, makes the one into the other.
bool isOneErrorFrom(std::string_view a, std::string_view b)
{
    if (a.size() < b.size())
        std::swap(a, b);
    if (a.size() > b.size() + 1)
        return false;
    const auto parting = std::mismatch(b.begin(), b.end(), a.begin());
    const auto restOfA = a.substr(static_cast<std::size_t>(parting.second - a.begin()));
    const auto restOfB = b.substr(static_cast<std::size_t>(parting.first - b.begin()));
    if (a.size() > b.size())
        return restOfA.substr(1) == restOfB;
    return restOfA.size() < 2 || restOfA.substr(1) == restOfB.substr(1)
        || (restOfA[0] == restOfB[1] && restOfA[1] == restOfB[0]
            && restOfA.substr(2) == restOfB.substr(2));
}

template <std::size_t count>
std::string_view likely(std::string_view word, const std::array<std::string_view, count>& words)
{
    constexpr std::size_t maxWord = 8;
    constexpr std::size_t minKnown = 4; // below that every word is near another
    if (word.size() > maxWord)
        return {};
    const auto lower = lowered(word);
    for (const auto known : words)
        if (lower == known)
            return known;
    for (const auto known : words)
        if (known.size() >= minKnown && isOneErrorFrom(lower, known))
            return known;
    return {};
}

std::string didYouMean(std::string_view word, std::string_view likely)
{
    auto text = "did you mean " + inQuotes(likely) + "?";
    return lowered(word) == likely ? "capitals count; " + text : text;
}

// What a line of too few fields lacks.
std::vector<std::string_view> missingParts(const RuleFields& fields)
{
    std::vector<std::string_view> missing;
    std::size_t at = 0;
    if (at < fields.count && !likelyClass(fields.at[at]).empty())
        ++at;
    else
        missing.emplace_back("the class (allow, deny or watch)");
    if (at < fields.count && !likelyType(fields.at[at]).empty())
        ++at;
    else
        missing.emplace_back("the type (prefix, path or suffix)");
    auto texts = fields.count - at;
    const bool hasOperations = texts > 0 && looksLikeOperations(fields.at[fields.count - 1]);
    if (hasOperations)
        --texts;
    if (texts == 0)
        missing.emplace_back("the path");
    if (texts == 0 || (texts == 1 && looksLikePath(fields.at[at])))
        missing.emplace_back("the process (any for every one)");
    else if (texts == 1)
        missing.emplace_back("the path or the process");
    if (!hasOperations)
        missing.emplace_back("the operation letters (r, w, c, m, x)");
    return missing;
}

std::string listed(const std::vector<std::string_view>& parts)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0)
            text += i + 1 == parts.size() ? " and " : ", ";
        text += parts[i];
    }
    return text;
}

}

std::string inQuotes(std::string_view text)
{
    constexpr std::size_t maxCharacters = 40;
    std::size_t length = 0;
    std::size_t characters = 0;
    for (; length < text.size(); ++length) {
        const bool begins = (static_cast<unsigned char>(text[length]) & 0xC0U) != 0x80;
        if (begins && ++characters > maxCharacters)
            return '"' + std::string(text.substr(0, length)) + "…\"";
    }
    return '"' + std::string(text) + '"';
}

std::string_view likelyClass(std::string_view word)
{
    return likely(word, classWords);
}

std::string_view likelyType(std::string_view word)
{
    return likely(word, typeWords);
}

bool looksLikeComment(std::string_view word)
{
    return word.starts_with('#') || word.starts_with("//") || word.starts_with("--");
}

bool looksLikeOperations(std::string_view word)
{
    return !word.empty() && lowered(word).find_first_not_of("rwcmx") == std::string::npos;
}

bool looksLikePath(std::string_view word)
{
    return word.starts_with('/') || word.starts_with(':');
}

std::string meantClass(std::string_view word)
{
    if (looksLikeComment(word))
        return "only a line that begins with \";\" is a comment";
    const auto likely = likelyClass(word);
    return likely.empty() ? "the classes are allow, deny and watch" : didYouMean(word, likely);
}

std::string meantType(std::string_view word)
{
    const auto likely = likelyType(word);
    return likely.empty() ? "the types are prefix, path and suffix" : didYouMean(word, likely);
}

std::string whyIgnored(const RuleFields& fields)
{
    const auto first = fields.at[0];
    if (looksLikeComment(first))
        return "taken for a comment? Only a line that begins with \";\" is one; this one has too "
               "few "
               "fields for a rule";
    const auto likely = likelyClass(first);
    if (likely == "set")
        return first == likely ? "\"set\" needs an option's name and its value"
                               : inQuotes(first) + " is no statement; " + didYouMean(first, likely);
    if (likely.empty() && likelyType(first).empty())
        return inQuotes(first)
            + " begins no statement; a rule has at least five fields (class, type, path, process, "
              "operations), a comment begins with \";\"";
    auto reason = "a rule has at least five fields, this line " + std::to_string(fields.count)
        + "; missing, as it seems: " + listed(missingParts(fields));
    if (!likely.empty() && likely != first)
        reason += "; and " + inQuotes(first) + " is no class, " + didYouMean(first, likely);
    return reason;
}

}
