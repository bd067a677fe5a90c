#pragma once

#include "support/agent_fixture.h"
#include "support/queries.h"
#include "ui/prompt/prompt_presenter.h"
#include "ui/prompt/prompt_windows.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

#include <type_traits>

namespace vossel::test {

using Lines = std::vector<std::string>;

// Remembers which prompt stands, and what it was told of it.
class PresenterProbe final : public PromptPresenter {
public:
    QMPermissionsWindow* advanced = nullptr;
    QMSimplePermissionsWindow* simple = nullptr;
    Lines calls;

    void promptOpened(QMPermissionsWindow& p) override { note("opened", advanced, &p); }
    void promptOpened(QMSimplePermissionsWindow& p) override { note("opened", simple, &p); }
    void promptChanged(QMPermissionsWindow& p) override { note("changed", advanced, &p); }
    void promptChanged(QMSimplePermissionsWindow& p) override { note("changed", simple, &p); }
    void promptClosed(QMPermissionsWindow&) override { note("closed", advanced, nullptr); }
    void promptClosed(QMSimplePermissionsWindow&) override { note("closed", simple, nullptr); }

private:
    template <class Prompt>
    void note(const char* call, Prompt*& place, std::type_identity_t<Prompt*> prompt)
    {
        calls.emplace_back(call);
        place = prompt;
    }
};

// What either prompt hands over, as one line of text each.
class DelegateProbe final : public QMPermissionsWindowDelegate,
                            public QMSimplePermissionsWindowDelegate {
public:
    using Path = std::optional<std::string>;
    Lines handedOver;

    void didClickAllowWithSelectedPath(const Path& path, std::int64_t duration,
        std::int32_t process, std::int32_t operations, const policy_query& q,
        std::uint32_t pid) override
    {
        note("allow", q, duration, path.value_or("none"), {process, operations, pid});
    }
    void didClickDenyWithSelectedPath(const Path& path, std::int64_t duration, std::int32_t process,
        std::int32_t operations, const policy_query& q, std::uint32_t pid) override
    {
        note("deny", q, duration, path.value_or("none"), {process, operations, pid});
    }
    void didClickAllowWithQuery(const policy_query& q, std::int64_t duration) override
    {
        note("allow", q, duration);
    }
    void didClickDenyWithQuery(const policy_query& q, std::int64_t duration) override
    {
        note("deny", q, duration);
    }
    void didRequestAdvancedDisplayForQuery(const policy_query& q) override
    {
        note("advanced", q, -1);
    }

private:
    // "allow <path> constraint 1 for 2", and of the advanced prompt: the choice, the process tag,
    // the operations, the process id and the parent.
    void note(const std::string& decision, const policy_query& query, std::int64_t duration,
        const std::string& choice = {}, std::initializer_list<std::int64_t> numbers = {})
    {
        std::string line = decision + " " + std::string(textOf(query.path)) + " constraint "
            + std::to_string(query.constraint_type) + " for " + std::to_string(duration);
        if (numbers.size() > 0)
            line += " by [" + choice + "]";
        for (const std::int64_t number : numbers)
            line += " " + std::to_string(number);
        handedOver.push_back(line + std::string(textOf(query.parent_name)));
    }
};

// The agent's broker with the real prompts, on whose screen nothing is drawn.
struct PromptFixture : AgentFixture {
    PresenterProbe presenter;
    DelegateProbe delegate;
    const PromptContext context{host.host, directories, broker, presenter};
    PromptWindows windows{context};
    // Of everybody who answers through the broker.
    std::shared_ptr<QueryWait> wait = std::make_shared<QueryWait>();

    PromptFixture() { broker.setPromptFactory(&windows); }

    void forbidRules() { std::filesystem::remove_all(directories.sharedData()); }

    // A prompt that answers to `delegate`; the broker knows nothing of it.
    template <class Prompt = QMPermissionsWindow>
    std::shared_ptr<Prompt> open(const policy_query& query)
    {
        auto prompt = std::make_shared<Prompt>(context);
        prompt->setPolicyQuery(query);
        prompt->setDelegate(&delegate);
        prompt->showWindow();
        return prompt;
    }
    // A prompt of the broker's, in the mode that the preferences choose.
    void present(const policy_query& query)
    {
        broker.presentQueryToUser(query, wait);
        host.mainThread.runPending();
    }
};

// An image's path less the folders that an installation decides.
[[nodiscard]] inline std::string describe(const ImageSource& image)
{
    static constexpr const char* kinds[] = {"none ", "file ", "icon of "};
    return kinds[static_cast<int>(image.kind)]
        + std::filesystem::path(image.path).filename().string();
}

[[nodiscard]] inline std::string describe(const Button& button, const char* name)
{
    return name + std::string(button.hidden() ? " hidden" : "")
        + (button.highlighted() ? " highlighted" : "") + (button.on() ? " on" : "");
}

[[nodiscard]] inline std::string describe(const PromptFrame& frame)
{
    return describe(frame.allowButton, "allow") + ", " + describe(frame.denyButton, "deny")
        + (frame.touchBarLabel.hidden() ? "" : ", on the touch bar");
}

}
