#pragma once

#include "foundation/files.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace vossel::test {

using Json = nlohmann::json;
using Arguments = std::vector<std::string>;

// The built program in a folder of its own, with files in the place of its three streams.
class VosselctlFixture : public testing::Test {
protected:
    struct Outcome {
        std::optional<int> status;
        std::string output;
        std::string error;
    };
    struct Refusal {
        Arguments arguments;
        const char* sentence; // a part of it
        const char* output = "output";
        std::string input = {};
    };

    Outcome run(const Arguments& arguments, std::string_view input = {}, const char* to = "output")
    {
        write("input", input);
        write("output", "");
        Arguments all{"sh", "-c", R"(cd "$0" && to=$1 && shift && "$@" <input >"$to")",
            directory_.path(), to, VOSSELCTL};
        all.insert(all.end(), first_.begin(), first_.end());
        all.insert(all.end(), arguments.begin(), arguments.end());
        const auto status = ChildProcess(all, directory_ / "error").wait();
        return {status, *readFile(directory_ / "output", 300'000),
            *readFile(directory_ / "error", 100'000)};
    }
    // What it writes when nothing goes wrong.
    std::string done(Arguments command, const Arguments& options = {}, std::string_view input = {})
    {
        command.insert(command.end(), options.begin(), options.end());
        const auto outcome = run(command, input);
        EXPECT_EQ(outcome.status, 0) << outcome.error;
        return outcome.output;
    }
    void expectRefusal(const Refusal& row)
    {
        SCOPED_TRACE(testing::PrintToString(row.arguments) + std::to_string(row.input.size()));
        const auto outcome = run(row.arguments, row.input, row.output);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.error, testing::HasSubstr(row.sentence));
        EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << outcome.error;
    }
    void write(const std::string& name, std::string_view content)
    {
        EXPECT_TRUE(writeFile(directory_ / name, content));
    }

    Arguments first_; // words of each call
    TemporaryDirectory directory_;
};

}
