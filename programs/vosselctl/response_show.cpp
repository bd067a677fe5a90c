#include "programs/vosselctl/command.h"

#include <cstring>
#include <memory>

namespace vossel {

namespace {

struct Options {
    std::string file;
    bool pretty = false;
};

Result<bool> showResponse(const Options& options)
{
    const auto bytes = readInput(options.file);
    if (!bytes)
        return Failure{bytes.reason()};
    user_prompt_response response;
    if (bytes->size() != sizeof response)
        return wrongSize(options.file, bytes->size(), "a response has 2148");
    std::memcpy(&response, bytes->data(), sizeof response);
    return writeJson(responseJson(response), options.pretty);
}

}

void addResponseShow(CLI::App& response, CommandLine& line)
{
    const auto options = std::make_shared<Options>();
    auto* show = response.add_subcommand("show", "Print a response of 2148 bytes as JSON");
    show->add_option("FILE", options->file, "The response; - is standard input")->required();
    show->add_flag("--pretty", options->pretty, "Several lines, indented");
    show->callback(
        [options, &line] { line.chosen = [options] { return showResponse(*options); }; });
}

}
