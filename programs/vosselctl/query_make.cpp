#include "programs/vosselctl/command.h"

#include <charconv>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace vossel {

namespace {

using StoreField = std::function<Result<bool>(policy_query&, const std::string&)>;

// One named field: how its text is stored in the record, and what the user gave.
struct Field {
    std::string name; // of the option, with its dashes
    StoreField store;
    std::string help;
    std::string text = {};
    CLI::Option* option = nullptr;
};

struct Options {
    std::vector<Field> fields;
    bool csValid = false;
    bool csAdhoc = false;
    bool platformBinary = false;
    bool message = false;
};

// Decimal digits only, the whole text, within the field's range.
template <class Number>
Result<Number> parseNumber(const std::string& text)
{
    Number number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end)
        return Failure{"\"" + text + "\" is no whole number from "
            + std::to_string(std::numeric_limits<Number>::min()) + " to "
            + std::to_string(std::numeric_limits<Number>::max())};
    return number;
}

template <class Number>
StoreField numberField(Number policy_query::*member)
{
    return [member](policy_query& query, const std::string& text) -> Result<bool> {
        const auto number = parseNumber<Number>(text);
        if (!number)
            return Failure{number.reason()};
        query.*member = *number;
        return true;
    };
}

template <std::size_t N>
Result<bool> storeWhole(char (&array)[N], std::string_view text)
{
    if (text.size() >= N)
        return Failure{"the text has " + std::to_string(text.size()) + " bytes; at most "
            + std::to_string(N - 1) + " fit"};
    storeText(array, text);
    return true;
}

template <std::size_t N>
StoreField textField(char (policy_query::*member)[N])
{
    return [member](policy_query& query, const std::string& text) {
        return storeWhole(query.*member, text);
    };
}

template <std::size_t N>
StoreField signingField(char (csproc_info::*member)[N])
{
    return [member](policy_query& query, const std::string& text) {
        return storeWhole(query.cs_info.*member, text);
    };
}

// The signer is the third of three fields; a text that has tabs of its own is all of them.
Result<bool> storeSigner(policy_query& query, const std::string& text)
{
    return storeWhole(query.reserved2, text.find('\t') == std::string::npos ? "\t\t" + text : text);
}

int hexDigit(char c)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const auto lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const auto place = digits.find(lower);
    return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

Result<bool> storeConstraints(policy_query& query, const std::string& text)
{
    auto& bytes = query.process_constraints.sha256;
    if (text.size() > 2 * sizeof bytes || text.size() % 2 != 0)
        return Failure{"the text has " + std::to_string(text.size())
            + " hexadecimal digits; an even number of at most 64 fits"};
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = hexDigit(text[i]);
        const int low = hexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            return Failure{"\"" + text + "\" is not hexadecimal"};
        bytes[i / 2] = static_cast<std::uint8_t>(16 * high + low);
    }
    return true;
}

std::vector<Field> queryFields()
{
    return {
        {"--pid", numberField(&policy_query::pid), "The acting process"},
        {"--ppid", numberField(&policy_query::ppid), "Its parent; 0: the driver did not say"},
        {"--flags", numberField(&policy_query::flags), "The driver's own flags"},
        {"--operation", numberField(&policy_query::operation),
            "1 read, 2 write, 4 create, 8 mount, 16 execute"},
        {"--constraint-type", numberField(&policy_query::constraint_type),
            "How a rule would be tied to the program"},
        {"--security-token", numberField(&policy_query::security_token),
            "Comes back in the response"},
        {"--process-name", textField(&policy_query::process_name), "Path of the acting program"},
        {"--parent-name", textField(&policy_query::parent_name), "Path of its parent program"},
        {"--teamid", signingField(&csproc_info::teamid), "Team of the signature"},
        {"--identity", signingField(&csproc_info::identity), "Identifier of the signature"},
        {"--query-path,--path", textField(&policy_query::path), "What is to be accessed"},
        {"--code-sign-state", numberField(&policy_query::reserved1),
            "1 unsigned, 2 valid, 3 invalid, 4 not verifiable, 5 unsupported, 6 error"},
        {"--signer", storeSigner, "Who signed; with tabs all three fields"},
        {"--constraints", storeConstraints, "Identity of the program, up to 64 hexadecimal digits"},
    };
}

Result<bool> makeQuery(const Options& options)
{
    // The record has no padding, so no byte is left undefined.
    policy_query_message message{};
    message.type = MSG_POLICY_QUERY;
    auto& query = message.policy_query_;
    for (const auto& field : options.fields) {
        if (field.option->count() == 0)
            continue;
        if (const auto stored = field.store(query, field.text); !stored)
            return Failure{field.option->get_name() + ": " + stored.reason()};
    }
    query.cs_info.cs_valid = options.csValid ? 1 : 0;
    query.cs_info.cs_adhoc = options.csAdhoc ? 1 : 0;
    query.cs_info.platform_binary = options.platformBinary ? 1 : 0;

    char bytes[sizeof message];
    std::memcpy(bytes, &message, sizeof message);
    const std::string_view whole(bytes, sizeof message);
    return writeOutput(options.message ? whole : whole.substr(messagePayloadOffset));
}

}

void addQueryMake(CLI::App& query, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    options->fields = queryFields();
    auto* make = query.add_subcommand(
        "make", "Write a query to standard output; fields that are not named are zero");
    for (auto& field : options->fields)
        field.option = make->add_option(field.name, field.text, field.help);
    make->add_flag("--cs-valid", options->csValid, "The signature is valid");
    make->add_flag("--cs-adhoc", options->csAdhoc, "The signature is ad hoc");
    make->add_flag("--platform-binary", options->platformBinary, "Part of the operating system");
    make->add_flag("--message", options->message, "A whole message of 3384 bytes");
    make->callback([options, &line] { line.chosen = [options] { return makeQuery(*options); }; });
}

}
