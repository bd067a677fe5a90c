#include "prompting/alert_message.h"
#include "support/queries.h"

#include <gtest/gtest.h>

namespace vossel {
namespace {

TEST(AlertMessage, SaysWhatAPlaceMeansAndNamesTheRest)
{
    const Directories directories("/Applications/trial");
    const std::string volume = "0 Notes would like to access the volume ";
    const auto attempt = [](std::string_view verb) {
        return "0 Vossel detected an attempt to " + std::string(verb) + " the following file...";
    };
    const struct {
        std::string_view path;
        std::string advanced; // the alert type and the sentence
        std::string simple = {}; // empty: the same
        std::string_view simplePath = {}; // what simple mode makes of the path; empty: unchanged
        std::int32_t operation = OPERATION_READ; // exactly one code: a set is none
    } rows[] = {
        {"/private/var/db/lockdown/1",
            "2 Vossel detected an attempt to access iOS pairing records."},
        {"/Applications/trial/Users/Shared/Vossel/x",
            "3 Notes would like to access your Vossel rules."},
        {"/Applications/A.app/DAL/AppleCamera.plugin/x",
            "4 Notes would like access to the webcam."},
        {"/Applications/A.app/x", "0 Notes would like to update or remove applications.", {},
            "/Applications/"},
        {"/Users/ann/Library/LaunchAgents/x",
            "0 Notes would like to install or modify a background application in your account.", {},
            "/Users/ann/Library/LaunchAgents/"},
        {"/Volumes/%@ disk/a/b", volume + "\"%@ disk\".", {}, "/Volumes/%@ disk/"},
        {"/Volumes/", volume + "\"/\".", {}, "/Volumes///"},
        {"/dev/bpf", "0 Vossel detected an attempt to mount a file system.", {}, {}, 8},
        {"/missing", attempt("write to"), "0 Notes would like to access the file /missing", {}, 2},
        {"/missing", attempt("execute"), "0 Notes would like to run the program /missing", {}, 16},
        {"/usr/", attempt("unknown"), "0 Notes would like to access your \"usr\" folder.", {}, 17},
        {"/usr/", attempt("execute"), "0 Notes would like to run programs in your \"usr\" folder.",
            {}, 16},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        auto query = test::queryFor(row.path, row.operation);
        const auto message = [&](bool simple) {
            const auto built = buildAlertMessage(query, {simple, "/Users/ann", directories});
            return std::to_string(built.alertType) + " " + built.sentence;
        };
        EXPECT_EQ(message(false), row.advanced);
        EXPECT_EQ(textOf(query.path), row.path);
        EXPECT_EQ(message(true), row.simple.empty() ? row.advanced : row.simple);
        EXPECT_EQ(textOf(query.path), row.simplePath.empty() ? row.path : row.simplePath);
    }
}

}
}
