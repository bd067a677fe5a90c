#pragma once

#include "rules/rule.h"

namespace vossel {

// Allows or denies operations on a path to a process. The driver applies it; nothing here does.
class PolicyRule final : public Rule {
public:
    // Everything 0 or empty, constructed now or at `initialized` (seconds since 1970-01-01 UTC).
    PolicyRule();
    explicit PolicyRule(std::int64_t initialized)
        : initialized_(initialized)
    {
    }

    // Of rule_vocabulary.h; POLICY_CLASS_UNKNOWN where a file's word was none.
    [[nodiscard]] std::int32_t policyClass() const { return policyClass_; }
    void setPolicyClass(std::int32_t policyClass) { policyClass_ = policyClass; }

    // Which code identity the process must have; compared as text only.
    [[nodiscard]] std::string_view constraint() const { return constraint_.view(); }
    void setConstraint(RuleText constraint) { constraint_ = std::move(constraint); }

    // Seconds since 1970-01-01 UTC; 0 when unknown.
    [[nodiscard]] std::uint64_t created() const { return created_; }
    void setCreated(std::uint64_t created) { created_ = created; }

    // Class, type, path, process, operations, flags and constraint are the same.
    [[nodiscard]] bool isEqualToPolicyRule(const PolicyRule& other) const;
    // The same, but with the folder of the other's path in the place of that path: whether this
    // rule is already the other one's rule for the whole folder.
    [[nodiscard]] bool isEqualToPolicyRuleWithPrefix(const PolicyRule& other) const;

    // New means created less than a day before this record was made; a rule from the future is not.
    [[nodiscard]] std::uint32_t getRuleState() const override;
    [[nodiscard]] std::int32_t getPolicyClass() const override { return policyClass_; }
    [[nodiscard]] std::string getProcessShortName() const override;

    void moveTextsTo(Arena& arena) override;

    // Numbers as the words of rules files.
    [[nodiscard]] static std::string_view policyClassDescription(std::int32_t policyClass);
    [[nodiscard]] static std::string_view policyTypeDescription(std::int32_t policyType);
    [[nodiscard]] static std::string operationsDescription(std::uint32_t operations);
    // The flag of policy rules only.
    [[nodiscard]] static std::string flagsDescription(std::uint32_t flags);

private:
    [[nodiscard]] bool sameButForPath(const PolicyRule& other) const;

    std::int32_t policyClass_ = 0;
    RuleText constraint_;
    std::uint64_t created_ = 0;
    std::int64_t initialized_;
};

// The folder of a path, with a "/" behind it: "/a/b" and "/a/b/" give "/a/", "b" gives "/", "/a"
// gives "//".
[[nodiscard]] std::string parentDirectoryForm(std::string_view path);

}
