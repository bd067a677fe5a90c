#pragma once

#include "agent/driver_link_interfaces.h"
#include "foundation/mutex.h"
#include "frontends/lines/script_command.h"
#include "ui/prompt/prompt_presenter.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vossel {

class LineOutput;
class MainThread;

// Shows prompts to a script and carries out its commands; it owns the commands that wait, and
// neither the descriptors nor the words of a prompt. The open prompt and the commands belong to the
// main thread; the end of a prompt is reported by the thread of its query. For each prompt that was
// shown the events come in the order prompt, state (any number), end: what is told of a prompt is
// told under the lock that also says whether its end has been told.
class LinePromptPresenter final : public PromptPresenter, public ResponseListener {
public:
    // Commands that may wait for a prompt; more are refused.
    static constexpr std::size_t maxWaiting = 10000;

    LinePromptPresenter(LineOutput& output, MainThread& mainThread);

    // Main thread. A line that is no command is answered at once; an empty one passes. Nothing is
    // taken any more once nobody reads the events.
    void take(std::string_view line, bool tooLong);

    void promptOpened(ShownPrompt& prompt) override;
    // Scripts are told after each of their commands; nobody else changes a prompt.
    void promptChanged(ShownPrompt&) override { }
    void promptClosed(ShownPrompt& prompt) override;

    void didDeliverResponse(
        const user_prompt_response& response, QueryWait::Outcome outcome) override;

private:
    struct Waiting {
        ScriptCommand command;
        std::string text;
    };

    void scheduleCommands();
    void carryOutWaiting();
    [[nodiscard]] bool mayCarryOut() const;
    void carryOutNext();
    void tellState();
    void refuse(std::string_view command, const std::string& reason);

    LineOutput& output_;
    MainThread& mainThread_;

    // The main thread's.
    ShownPrompt* open_ = nullptr;
    std::shared_ptr<QueryWait> wait_; // of the latest prompt
    std::int64_t id_ = 0; // of the latest prompt; 0 before the first
    std::int64_t busy_ = 0; // the prompt that a command is being carried out on
    std::int64_t leftAlone_ = 0; // the prompt whose end is waited for
    std::deque<Waiting> commands_;

    Mutex mutex_; // taken before the output's own
    // The prompt whose end is still to come.
    std::optional<std::int64_t> shown_ VOSSEL_GUARDED_BY(mutex_);
};

}
