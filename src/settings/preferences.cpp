#include "settings/preferences.h"

namespace vossel {

std::optional<Preferences> Preferences::load(const Directories& directories)
{
    auto values = readPropertyList(directories.preferences());
    if (!values || !values->dictionary())
        return std::nullopt;
    return Preferences(*std::move(values));
}

std::int64_t Preferences::integer(std::string_view key) const
{
    const auto* value = values_.find(key);
    return value ? value->integerValue() : 0;
}

bool Preferences::boolean(std::string_view key) const
{
    const auto* value = values_.find(key);
    return value && value->boolValue();
}

std::int64_t valueForPreference(const Directories& directories, std::string_view key)
{
    const auto preferences = Preferences::load(directories);
    return preferences ? preferences->integer(key) : 0;
}

}
