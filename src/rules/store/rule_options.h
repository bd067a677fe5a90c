#pragma once

#include "settings/preferences.h"

#include <array>
#include <string_view>

namespace vossel {

// The keys of the preferences file that are options of a rule store, in the order of loading.
struct RuleOption {
    enum class Kind { Boolean, Integer };
    std::string_view name;
    Kind kind = Kind::Integer;
};

namespace rule_option {
inline constexpr std::string_view user = "policy.global.user";
inline constexpr std::string_view webcam = "policy.global.webcam";
inline constexpr std::string_view startup = "policy.global.startup";
inline constexpr std::string_view exec = "policy.global.exec";
inline constexpr std::string_view paranoid = "policy.global.paranoid";
}

inline constexpr std::array<RuleOption, 15> ruleOptions = {{
    {"access.user.restrict", RuleOption::Kind::Boolean},
    {"access.user.create", RuleOption::Kind::Boolean},
    {preference::userDetail},
    {"security.hashing.enforce"},
    {"filter.exec.allow.signed"},
    {rule_option::user},
    {rule_option::webcam},
    {rule_option::startup},
    {rule_option::exec},
    {"policy.global.attach"},
    {rule_option::paranoid},
    {preference::promptsWhileLocked},
    {preference::promptsOutOfBand},
    {preference::promptsRemote},
    {preference::promptsAuthenticate},
}};

}
