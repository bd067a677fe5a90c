#include "prompting/alert_message.h"

#include "foundation/files.h"
#include "foundation/path_text.h"
#include "foundation/text_format.h"
#include "prompting/path_hierarchy.h"
#include "wire/pseudo_paths.h"

#include <optional>

namespace vossel {

namespace {

enum class Match { Begins, Contains, Equals };

// What the simple prompt's decision widens to.
enum class Widening { None, Target, Volume };

// A sentence for a place that means more than its path says. Its "%@" are the program's and the
// volume's name, in this order.
struct PlaceRule {
    Match match;
    std::string_view target;
    AlertType alertType;
    std::string_view sentence;
    Widening widening = Widening::None;
};

bool matches(const PlaceRule& rule, std::string_view path)
{
    switch (rule.match) {
    case Match::Begins:
        return path.starts_with(rule.target);
    case Match::Contains:
        return path.find(rule.target) != std::string_view::npos;
    case Match::Equals:
        return path == rule.target;
    }
    return false;
}

// The first rule in this order that matches decides.
std::optional<PlaceRule> findPlaceRule(std::string_view path, std::string_view ownRules,
    std::string_view loginItems, std::string_view userAgents)
{
    using enum Match;
    const PlaceRule rules[] = {
        {Begins, "/private/var/db/lockdown/", ALERT_PAIRING_RECORDS,
            "Vossel detected an attempt to access iOS pairing records."},
        {Begins, firmwareVariablePaths, ALERT_ORDINARY,
            "Vossel detected an attempt to write to NVRAM."},
        {Begins, attachedProcessPaths, ALERT_ORDINARY,
            "%@ is attempting to take over another process."},
        {Begins, kernelServicePaths, ALERT_ORDINARY,
            "Vossel detected an attempt to connect to a kernel service."},
        {Begins, kernelModulePaths, ALERT_ORDINARY,
            "Vossel detected an attempt to load a kernel module."},
        {Begins, packetCaptureDevices, ALERT_ORDINARY,
            "%@ would like to intercept network packets."},
        {Begins, ownRules, ALERT_OWN_RULES, "%@ would like to access your Vossel rules."},
        {Begins, "/System/Library/Components/AppleScript.component/", ALERT_APPLESCRIPT,
            "%@ would like to execute an AppleScript."},
        {Contains, "DAL/AppleCamera.plugin/", ALERT_WEBCAM, "%@ would like access to the webcam."},
        {Begins,
            "/System/Library/Frameworks/CoreMediaIO.framework/Versions/A/Resources/VDC.plugin/",
            ALERT_WEBCAM, "%@ would like access to the webcam."},
        {Begins, "/Applications/", ALERT_ORDINARY,
            "%@ would like to update or remove applications.", Widening::Target},
        {Begins, "/Library/LaunchDaemons/", ALERT_ORDINARY,
            "%@ would like to install or modify a background process.", Widening::Target},
        {Begins, "/Library/LaunchAgents/", ALERT_ORDINARY,
            "%@ would like to install or modify a background application.", Widening::Target},
        {Equals, loginItems, ALERT_LOGIN_ITEMS, "%@ would like to install or modify a login item."},
        {Begins, userAgents, ALERT_ORDINARY,
            "%@ would like to install or modify a background application in your account.",
            Widening::Target},
        {Begins, "/Volumes/", ALERT_ORDINARY, "%@ would like to access the volume \"%@\".",
            Widening::Volume},
    };
    for (const auto& rule : rules) {
        if (matches(rule, path))
            return rule;
    }
    return std::nullopt;
}

// A prompt without the details: it names a folder by its last component, a file by its path.
std::string simpleSentence(
    std::int32_t operation, std::string_view program, const std::string& path)
{
    const bool runs = operation == OPERATION_EXECUTE;
    if (isDirectory(path))
        return formatText(runs ? "%@ would like to run programs in your \"%@\" folder."
                               : "%@ would like to access your \"%@\" folder.",
            {program, lastPathComponent(path)});
    return formatText(
        runs ? "%@ would like to run the program %@" : "%@ would like to access the file %@",
        {program, path});
}

}

AlertMessage buildAlertMessage(policy_query& query, const AlertFacts& facts)
{
    if (query.operation == OPERATION_MOUNT)
        return {"Vossel detected an attempt to mount a file system.", ALERT_ORDINARY};

    // A copy: the query's own may be rewritten below.
    const std::string path(textOf(query.path));
    const auto program = manicureDisplayPathForQuery(query);
    const auto ownRules = facts.directories.sharedData();
    const auto loginItems
        = formatText("%@/Library/Preferences/com.apple.loginitems.plist", {facts.homeDirectory});
    const auto userAgents = formatText("%@/Library/LaunchAgents/", {facts.homeDirectory});

    if (const auto rule = findPlaceRule(path, ownRules, loginItems, userAgents)) {
        const auto volume = volumeName(path);
        if (facts.simpleMode && rule->widening == Widening::Target)
            storeText(query.path, rule->target);
        if (facts.simpleMode && rule->widening == Widening::Volume)
            storeText(query.path, formatText("/Volumes/%@/", {volume}));
        return {formatText(rule->sentence, {program, volume}), rule->alertType};
    }
    if (!facts.simpleMode)
        return {formatText("Vossel detected an attempt to %@ the following %@...",
                    {operationDescription(query.operation), "file"}),
            ALERT_ORDINARY};
    return {simpleSentence(query.operation, program, path), ALERT_ORDINARY};
}

std::string_view operationDescription(std::int32_t operation)
{
    switch (operation) {
    case OPERATION_READ:
        return "read";
    case OPERATION_WRITE:
        return "write to";
    case OPERATION_CREATE:
        return "create";
    case OPERATION_MOUNT:
        return "mount in";
    case OPERATION_EXECUTE:
        return "execute";
    default:
        return "unknown";
    }
}

std::string volumeName(std::string_view path)
{
    if (!path.starts_with("/Volumes/"))
        return {};
    // "/", "Volumes", and a name or the trailing slash: three components at least.
    return std::string(pathComponents(path)[2]);
}

}
