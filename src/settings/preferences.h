#pragma once

#include "foundation/property_list.h"
#include "settings/directories.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace vossel {

namespace preference {
inline constexpr std::string_view promptsWhileLocked = "ui.prompts.while_locked";
inline constexpr std::string_view promptsOutOfBand = "ui.prompts.oob";
inline constexpr std::string_view promptsAuthenticate = "ui.prompts.authenticate";
inline constexpr std::string_view promptsRemote = "ui.prompts.remote";
inline constexpr std::string_view userDetail = "access.user.detail";
}

// One reading of the preferences file. Nothing is cached: whoever needs a value loads it afresh.
class Preferences {
public:
    // Empty when the file is missing, unreadable or holds no dictionary.
    [[nodiscard]] static std::optional<Preferences> load(const Directories& directories);

    // 0 when the key is missing.
    [[nodiscard]] std::int64_t integer(std::string_view key) const;
    // False when the key is missing; else PropertyList::boolValue.
    [[nodiscard]] bool boolean(std::string_view key) const;

private:
    explicit Preferences(PropertyList values)
        : values_(std::move(values))
    {
    }

    PropertyList values_;
};

// The integer value of one key, the file loaded anew; 0 when it does not load or the key is absent.
[[nodiscard]] std::int64_t valueForPreference(const Directories& directories, std::string_view key);

}
