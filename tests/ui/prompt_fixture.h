#pragma once

#include "support/agent_fixture.h"
#include "support/queries.h"
#include "ui/prompt/prompt_arming.h"
#include "ui/prompt/prompt_presenter.h"
#include "ui/prompt/prompt_view_model_factory.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel::test {

using Lines = std::vector<std::string>;

// The agent's broker with the real prompts, advanced ones unless the preferences are written anew.
// Nothing is drawn, and nobody but the broker keeps a prompt: a click or a key may be the last
// thing that it sees.
struct PromptFixture : AgentFixture, PromptPresenter {
    ShownPrompt* shown = nullptr; // that is open
    QMPermissionsWindow* advanced = nullptr; // the same by its kind
    QMSimplePermissionsWindow* simple = nullptr;
    Lines calls;
    PromptViewModelFactory windows{{host.host, directories, broker, *this}};
    std::shared_ptr<QueryWait> wait; // for the answer to the last query

    PromptFixture()
    {
        broker.setPromptFactory(&windows);
        chooseAdvancedPrompts();
    }

    void present(const policy_query& query)
    {
        wait = std::make_shared<QueryWait>();
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
    }
    QMPermissionsWindow& open(const policy_query& query)
    {
        present(query);
        return *advanced;
    }
    [[nodiscard]] std::string icon() const
    {
        return std::filesystem::path(shown->view().icon.path).filename();
    }
    void forbidRules() { std::filesystem::remove_all(directories.sharedData()); }
    [[nodiscard]] std::string pathOfRules() const { return directories.sharedData() + "x"; }

    void promptOpened(ShownPrompt& prompt) override { note("opened", &prompt); }
    void promptChanged(ShownPrompt& prompt) override { note("changed", &prompt); }
    void promptClosed(ShownPrompt&) override { note("closed", nullptr); }

private:
    void note(const char* call, ShownPrompt* prompt)
    {
        calls.emplace_back(call);
        shown = prompt;
        advanced = dynamic_cast<QMPermissionsWindow*>(prompt);
        simple = dynamic_cast<QMSimplePermissionsWindow*>(prompt);
    }
};

// "allow 1 0 2 7 0 constraint 2 in /x": duration, code, process, operations, process id; then what
// the response covers.
[[nodiscard]] inline std::string describe(const user_prompt_response& response)
{
    static constexpr const char* scopes[] = {" in ", " only ", " extension "};
    std::string text = response.decision == DECISION_ALLOW ? "allow" : "deny";
    for (const std::int64_t number : std::initializer_list<std::int64_t>{
             response.duration, response.code, response.process, response.operations, response.pid})
        text += " " + std::to_string(number);
    return text + " constraint " + std::to_string(response.constraint_type)
        + scopes[response.pathType] + std::string(textOf(response.path))
        + std::string(textOf(response.user_data));
}

}
