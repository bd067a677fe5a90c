#include "frontends/lines/line_output.h"
#include "frontends/lines/line_prompt_presenter.h"
#include "frontends/lines/line_splitter.h"
#include "hosts/simulated/simulated_host.h"
#include "prompting/permissions_manager.h"
#include "require.h"
#include "settings/directories.h"
#include "ui/prompt/prompt_view_model_factory.h"
#include "user/user_checks.h"

#include <cstdint>
#include <vector>

// A script that writes anything at all while prompts come and go. Lines are cut alike however the
// bytes arrive, every event is one line of JSON, and no prompt is left open.

using namespace vossel;
using test::require;

namespace {

using Lines = std::vector<std::pair<std::string, bool>>;

Lines cut(std::string_view bytes, std::size_t piece)
{
    Lines lines;
    LineSplitter splitter;
    const auto collect
        = [&](std::string_view line, bool tooLong) { lines.emplace_back(line, tooLong); };
    for (std::size_t at = 0; at < bytes.size(); at += piece)
        splitter.feed(bytes.substr(at, piece), collect);
    splitter.finish(collect);
    return lines;
}

struct Agent {
    const Directories directories{"/nonexistent"};
    SimulatedHost host;
    UserChecks userChecks{host.accounts, directories};
    std::size_t prompts = 0;
    LineOutput output{[this](std::string_view line) {
        const Json event = Json::parse(line, nullptr, false);
        require(event.is_object() && line.find('\n') == line.size() - 1, "no line of JSON");
        prompts += event.value("event", "") == "prompt";
        return true;
    }};
    LinePromptPresenter lines{output, host.mainThread};
    PermissionsManager manager{host.host, directories, userChecks};
    PromptViewModelFactory windows{PromptContext{host.host, directories, manager, lines}};

    Agent() { manager.setPromptFactory(&windows); }

    // Asks once more, whatever waits of the commands; as the query's thread would.
    void ask()
    {
        policy_query query{};
        query.operation = OPERATION_READ;
        query.reserved1 = CODE_SIGN_VALID;
        storeText(query.path, "/data/notes/a.txt");
        storeText(query.process_name, "/opt/Notes");
        storeText(query.cs_info.teamid, "TEAM");
        const auto wait = std::make_shared<QueryWait>();
        manager.presentQueryToUser(query, wait);
        host.mainThread.runPending();
        manager.cancelQuery();
        host.mainThread.runPending();
        lines.didDeliverResponse(wait->response(), wait->outcome());
        require(!manager.shownWait(), "a prompt was left open");
    }
};

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Lines lines = cut(bytes, bytes.size() + 1);
    require(lines == cut(bytes, data[0] + 1U), "cut differently in pieces");

    Agent agent;
    agent.ask();
    std::size_t count = 0;
    for (const auto& [line, tooLong] : lines) {
        require(line.size() <= LineSplitter::maxLine, "a line beyond the limit");
        agent.lines.take(line, tooLong);
        if (++count % 8 == 0)
            agent.ask();
    }
    agent.ask();
    require(agent.prompts >= 2, "a prompt was not told");
    return 0;
}
