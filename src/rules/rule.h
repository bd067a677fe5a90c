#pragma once

#include "rules/rule_text.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vossel {

// What policy and watch rules have in common, so that one table can show both. A rule is a value:
// it owns its texts unless it was made in an arena, and a copy always does, so that it may go to
// another thread. It knows no store and no file.
class Rule {
public:
    virtual ~Rule() = default;

    // 0 an ordinary rule, 1 from a system rules file, 2 a new one.
    [[nodiscard]] virtual std::uint32_t getRuleState() const = 0;
    [[nodiscard]] virtual std::int32_t getPolicyClass() const = 0;
    // The display name of the rule's application; empty where the rule names none.
    [[nodiscard]] virtual std::string getProcessShortName() const = 0;

    [[nodiscard]] std::int32_t policyType() const { return policyType_; }
    void setPolicyType(std::int32_t type) { policyType_ = type; }

    // "any" and the empty text stand for every path; a first ":" for an object of the driver.
    [[nodiscard]] std::string_view path() const { return path_.view(); }
    void setPath(RuleText path) { path_ = std::move(path); }

    // "any", a program, "PROGRAM via PARENT" and the like; see application_identity.h.
    [[nodiscard]] std::string_view processName() const { return processName_.view(); }
    void setProcessName(RuleText name) { processName_ = std::move(name); }
    [[nodiscard]] const RuleText& processNameText() const { return processName_; }

    [[nodiscard]] std::string_view tag() const { return tag_.view(); }
    void setTag(RuleText tag) { tag_ = std::move(tag); }

    // For a rule in an arena: has its texts lie there, too, so that it owns nothing.
    virtual void moveTextsTo(Arena& arena)
    {
        for (auto* text : {&path_, &processName_, &tag_})
            *text = RuleText(arena, text->view());
    }

    // Bits of rule_vocabulary.h.
    [[nodiscard]] std::uint32_t operations() const { return operations_; }
    void setOperations(std::uint32_t operations) { operations_ = operations; }
    [[nodiscard]] std::uint32_t flags() const { return flags_; }
    void setFlags(std::uint32_t flags) { flags_ = flags; }

    // Counts what the store has read, from 0.
    [[nodiscard]] std::int64_t sequence() const { return sequence_; }
    void setSequence(std::int64_t sequence) { sequence_ = sequence; }

    // From a system rules file; such rules are never written back.
    [[nodiscard]] bool system() const { return system_; }
    void setSystem(bool system) { system_ = system; }

protected:
    Rule() = default;
    Rule(const Rule&) = default;
    Rule(Rule&&) = default;
    Rule& operator=(const Rule&) = default;
    Rule& operator=(Rule&&) = default;

    // What both kinds compare: no tag, no sequence, no origin.
    [[nodiscard]] bool governsAsMuchAs(const Rule& other) const
    {
        return policyType_ == other.policyType_ && operations_ == other.operations_
            && flags_ == other.flags_ && processName_ == other.processName_;
    }
    [[nodiscard]] bool hasPathOf(const Rule& other) const { return path_ == other.path_; }

private:
    std::int32_t policyType_ = 0;
    std::uint32_t operations_ = 0;
    std::uint32_t flags_ = 0;
    bool system_ = false;
    RuleText path_;
    RuleText processName_;
    RuleText tag_;
    std::int64_t sequence_ = 0;
};

}
