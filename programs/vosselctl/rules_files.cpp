#include "foundation/files.h"
#include "programs/vosselctl/rules_commands.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

namespace vossel {

namespace {

// Why a file is none from which rules can be read, found before it is opened: the store takes a
// pipe, a device or a folder without a size for an empty file.
std::optional<Failure> unfitFile(const std::string& file)
{
    std::error_code error;
    const auto type = std::filesystem::symlink_status(file, error).type();
    switch (type) {
    case std::filesystem::file_type::not_found:
    case std::filesystem::file_type::none:
        return Failure{file + ": " + (error ? error.message() : errorText(ENOENT))};
    case std::filesystem::file_type::regular:
        return std::nullopt;
    case std::filesystem::file_type::symlink:
        return Failure{file + " is a symbolic link; rules are not read through one"};
    case std::filesystem::file_type::directory:
        return Failure{file + ": " + errorText(EISDIR)};
    default:
        return Failure{file + " is a pipe or a device; rules are read from regular files only"};
    }
}

// Why a file gave no rules after all.
std::optional<Failure> unreadFile(const std::string& file, const RuleManager& rules)
{
    if (const auto& message = rules.lastErrorMessage())
        return Failure{*message};
    switch (rules.lastReadOutcome().value_or(ReadOutcome::Missing)) {
    case ReadOutcome::Read:
    case ReadOutcome::CutByNul:
    case ReadOutcome::Empty:
        return std::nullopt;
    case ReadOutcome::NotUtf8:
        return Failure{file
            + " is not UTF-8, and nothing is read from such a file; \"vosselctl rules check\" "
              "says where"};
    case ReadOutcome::Missing:
    case ReadOutcome::Unreadable:
        break;
    }
    return Failure{file + " cannot be read"};
}

}

Result<std::unique_ptr<RuleManager>> loadRules(
    const std::vector<std::string>& files, ReadAs as, const std::string& prefix)
{
    RuleFiles places{Directories(prefix)};
    auto rules = std::make_unique<RuleManager>(places);
    for (const auto& file : files) {
        if (const auto unfit = unfitFile(file))
            return *unfit;
        if (as == ReadAs::FailsafeRules)
            rules->setFailsafeFile(file);
        rules->addFileContents(file, as == ReadAs::SystemRules);
        if (const auto unread = unreadFile(file, *rules))
            return *unread;
        if (rules->lastReadOutcome() == ReadOutcome::CutByNul)
            std::fprintf(stderr,
                "vosselctl: %s holds a NUL byte; what stands behind it is left out\n",
                harmless(file).bytes.c_str());
    }
    rules->rebuildRulesCache();
    return rules;
}

}
