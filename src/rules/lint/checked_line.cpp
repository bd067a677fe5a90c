#include "rules/lint/checked_line.h"

#include "rules/lint/rule_words.h"
#include "rules/rule_vocabulary.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vossel {

namespace {

constexpr std::string_view setWord = "set";

// How a person would know that a line has become something else.
constexpr std::string_view becomesErr = "a rule of no known class (\"err\")";

class LineCheck {
public:
    LineCheck(std::string_view text, std::size_t number, const RulesKind& kind,
        std::vector<Finding>& findings)
        : text_(text)
        , kind_(kind)
        , findings_(findings)
    {
        line_.number = number;
    }

    CheckedLine run()
    {
        const auto first = text_.find_first_not_of(" \t");
        if (first == std::string_view::npos || text_.starts_with(';'))
            return line_;
        line_.fields = cutFields(text_);
        line_.statement = classify(line_.fields, kind_);
        line_.column = columnOf(std::min(text_.find_first_not_of(' '), text_.size()));
        if (text_[first] == ';') {
            report(first, FindingCode::IndentedComment,
                "only a line whose very first character is \";\" is a comment; this one is "
                    + fate());
            line_.statement = StatementKind::None;
        } else {
            const auto intact = std::min(checkTabs(), checkQuote());
            if (intact > 0)
                checkFields(intact);
        }
        return line_;
    }

private:
    using Place = std::size_t; // in bytes

    [[nodiscard]] std::size_t columnOf(Place place) const
    {
        return charactersIn(text_.substr(0, place)) + 1;
    }
    void report(Place place, FindingCode code, std::string message)
    {
        findings_.push_back({line_.number, columnOf(place), code, std::move(message)});
    }
    // Of the field's opening quote, where it has one.
    [[nodiscard]] Place placeOf(std::string_view field) const
    {
        const auto place = static_cast<Place>(field.data() - text_.data());
        return place > 0 && text_[place - 1] == '"' ? place - 1 : place;
    }
    void reportField(std::size_t field, FindingCode code, std::string message)
    {
        report(placeOf(line_.fields.at.at(field)), code, std::move(message));
    }

    // What becomes of a line that was meant otherwise.
    [[nodiscard]] std::string fate() const
    {
        if (line_.statement == StatementKind::None)
            return "ignored, as it has too few fields for a rule";
        return "read as "
            + std::string(isRuleOfNoClass()                    ? becomesErr
                    : line_.statement == StatementKind::Option ? "an option"
                                                               : "a rule");
    }
    [[nodiscard]] bool isRuleOfNoClass() const
    {
        return line_.statement == StatementKind::Policy
            && policyClassForString(line_.fields.at[0]) == POLICY_CLASS_UNKNOWN;
    }

    // Both: how many fields from the first one on are what their writer meant.
    std::size_t checkTabs();
    std::size_t checkQuote();
    void checkFields(std::size_t intact);
    void checkSet();
    // Whether the fields behind it are where they should be.
    bool checkClass();
    bool checkType();
    void checkOperations();
    [[nodiscard]] std::string writtenBackAs() const
    {
        return kind_.system ? "it is read as \"err\"; " : "it will be written back as \"err\"; ";
    }

    std::string_view text_;
    const RulesKind& kind_;
    std::vector<Finding>& findings_;
    CheckedLine line_;
};

std::size_t LineCheck::checkTabs()
{
    bool quoted = false;
    auto tab = text_.find('\t');
    for (Place at = 0; tab != std::string_view::npos; tab = text_.find('\t', tab + 1)) {
        const auto quotes = std::count(text_.begin() + static_cast<std::ptrdiff_t>(at),
            text_.begin() + static_cast<std::ptrdiff_t>(tab), '"');
        quoted ^= quotes % 2 != 0;
        at = tab;
        if (!quoted)
            break;
    }
    if (tab == std::string_view::npos)
        return RuleFields::max;

    const auto begin = text_.find_last_of(" \"", tab) + 1; // npos + 1 is 0
    const auto next = std::min(text_.find_first_not_of('\t', tab), text_.size());
    const auto end = std::min(text_.find_first_of(" \"\t", next), text_.size());
    const auto before = text_.substr(begin, tab - begin);
    const auto after = text_.substr(next, end - next);
    std::string message;
    if (!before.empty() && !after.empty())
        message = "this tab does not part " + inQuotes(before) + " from " + inQuotes(after)
            + ": only blanks part fields, so that both are one";
    else if (!before.empty() || !after.empty())
        message = "this tab is part of the field, which is not just "
            + inQuotes(before.empty() ? after : before) + "; only blanks part fields";
    else
        message = "this tab is a field of its own; only blanks part fields";
    if (line_.statement == StatementKind::None)
        message += "; the line is ignored, as it has too few";
    else if (isRuleOfNoClass())
        message += "; the line becomes " + std::string(becomesErr);
    report(tab, FindingCode::TabSeparator, std::move(message));
    return cutFields(text_.substr(0, begin)).count;
}

std::size_t LineCheck::checkQuote()
{
    if (!line_.fields.quoteOpen)
        return RuleFields::max;
    // Every quote either opens or closes, so that it is the last one that stands open.
    const auto place = text_.rfind('"');
    const auto behind = text_.substr(place + 1);
    const auto blank = behind.rfind(' ');
    const auto word = behind.substr(blank + 1); // npos + 1 is 0
    std::string message = "this quote is not closed";
    if (behind.empty())
        message += " and does nothing";
    else if (blank == std::string_view::npos)
        message += ": it reaches to the end of the line";
    else if (word.empty())
        message += ": " + inQuotes(behind) + " is lost";
    else
        message += ": " + inQuotes(behind.substr(0, blank)) + " is lost, and " + inQuotes(word)
            + " is a field of its own";
    if (line_.statement == StatementKind::None)
        message += "; the line is ignored, as it has too few fields";
    report(place, FindingCode::UnterminatedQuote, std::move(message));
    return line_.fields.count - (word.empty() ? 0 : 1);
}

void LineCheck::checkFields(std::size_t intact)
{
    if (line_.fields.at[0] == setWord && !kind_.setsOptions) {
        checkSet();
        return;
    }
    if (line_.statement == StatementKind::None) {
        if (intact == RuleFields::max)
            reportField(0, FindingCode::Ignored, whyIgnored(line_.fields));
        return;
    }
    if (line_.statement == StatementKind::Option)
        return;
    bool inPlace = line_.statement == StatementKind::Watch || checkClass();
    if (inPlace && intact > 1)
        inPlace = checkType();
    if (inPlace && intact > 4)
        checkOperations();
}

void LineCheck::checkSet()
{
    reportField(0, FindingCode::SetInUserFile,
        "options are set in vossel.rc and paranoid.rc only, when these are read as system rules "
        "(--system); here the line is "
            + fate());
    line_.statement = StatementKind::None;
}

bool LineCheck::checkClass()
{
    const auto word = line_.fields.at[0];
    if (policyClassForString(word) != POLICY_CLASS_UNKNOWN)
        return true;
    if (policyTypeForString(word) != POLICY_TYPE_UNKNOWN) {
        reportField(0, FindingCode::UnknownClass,
            inQuotes(word) + " is a type, no class: " + writtenBackAs()
                + "the class (allow, deny or watch) seems to be missing, so that every field is "
                  "read one place too early");
        return false;
    }
    reportField(0, FindingCode::UnknownClass,
        inQuotes(word) + " is no class: " + writtenBackAs() + meantClass(word));
    return !looksLikeComment(word);
}

bool LineCheck::checkType()
{
    const auto word = line_.fields.at[1];
    if (policyTypeForString(word) != POLICY_TYPE_UNKNOWN)
        return true;
    const bool isMissing = looksLikePath(word) || word == "any";
    reportField(1, FindingCode::UnknownType,
        inQuotes(word) + " is no type: " + writtenBackAs()
            + (isMissing ? "the type (prefix, path or suffix) seems to be missing, so that every "
                           "field from here on is read one place too early"
                         : meantType(word)));
    return !isMissing;
}

void LineCheck::checkOperations()
{
    const auto word = line_.fields.at[4];
    if (operationsForString(word) != 0)
        return;
    auto message = inQuotes(word) + " has none of the operation letters r, w, c, m and x";
    if (looksLikeOperations(word))
        message += " (capitals count)";
    else if (looksLikeOperations(line_.fields.at[3]))
        message += " (is the process missing before " + inQuotes(line_.fields.at[3]) + "?)";
    else if (looksLikeOperations(line_.fields.at[5]))
        message += ", the field behind it has (does a path with a blank lack its quotes?)";
    message += ": the rule is for no operation";
    if (!kind_.system)
        message += ", and once written back it reads shifted by one field, the tag as operations";
    reportField(4, FindingCode::NoOperations, std::move(message));
}

}

CheckedLine checkLine(std::string_view text, std::size_t number, const RulesKind& kind,
    std::vector<Finding>& findings)
{
    return LineCheck(text, number, kind, findings).run();
}

std::size_t charactersIn(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(),
        [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
}

}
