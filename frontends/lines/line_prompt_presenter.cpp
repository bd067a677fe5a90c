#include "frontends/lines/line_prompt_presenter.h"

#include "foundation/utf8.h"
#include "frontends/lines/line_output.h"
#include "frontends/lines/line_splitter.h"
#include "frontends/lines/prompt_json.h"
#include "platform/threads.h"
#include "ui/prompt/shown_prompt.h"

#include <utility>

namespace vossel {

namespace {

const char* outcomeName(QueryWait::Outcome outcome, std::int32_t decision)
{
    switch (outcome) {
    case QueryWait::Outcome::Answered:
        return decision == DECISION_ALLOW ? "allowed" : "denied";
    case QueryWait::Outcome::Reevaluated:
        return "reevaluated";
    case QueryWait::Outcome::Cancelled:
        return "cancelled";
    case QueryWait::Outcome::TimedOut:
    case QueryWait::Outcome::Waiting:
        break;
    }
    return "timeout";
}

}

LinePromptPresenter::LinePromptPresenter(LineOutput& output, MainThread& mainThread)
    : output_(output)
    , mainThread_(mainThread)
{
}

// --- prompts ------------------------------------------------------------------------------------

void LinePromptPresenter::promptOpened(ShownPrompt& prompt)
{
    const MutexLock lock(mutex_);
    // Answered before anybody could see it. While this lock is held its end cannot be told, so a
    // prompt that is told here is told before its end.
    if (prompt.isOver())
        return;
    if (prompt.wait() != wait_) {
        wait_ = prompt.wait();
        ++id_;
    }
    open_ = &prompt;
    shown_ = id_;
    const PromptView view = prompt.view();
    output_.write({{"event", "prompt"}, {"id", id_},
        {"kind", view.kind == PromptView::Kind::Advanced ? "advanced" : "simple"},
        {"state", promptJson(view, prompt.countdown().secondsLeft())}});
    scheduleCommands();
}

void LinePromptPresenter::promptClosed(ShownPrompt& prompt)
{
    if (open_ == &prompt)
        open_ = nullptr;
}

void LinePromptPresenter::didDeliverResponse(
    const user_prompt_response& response, QueryWait::Outcome outcome)
{
    const MutexLock lock(mutex_);
    const auto id = std::exchange(shown_, std::nullopt);
    if (!id)
        return;
    output_.write(
        {{"event", "end"}, {"id", *id}, {"outcome", outcomeName(outcome, response.decision)},
            {"response", responseJson(response)}});
}

// --- commands -----------------------------------------------------------------------------------

void LinePromptPresenter::take(std::string_view line, bool tooLong)
{
    if (output_.isBroken()) {
        commands_.clear();
        return;
    }
    if (line.find_first_not_of(" \t") == std::string_view::npos)
        return;
    if (tooLong) {
        refuse(line, "the line is too long");
        return;
    }
    const auto command = parseScriptCommand(line);
    if (!command)
        refuse(line, command.reason());
    else if (commands_.size() == maxWaiting)
        refuse(line, "too many commands wait already");
    else
        commands_.push_back(
            {*command, std::string(line.substr(0, LineSplitter::maxShownOfLongLine))});
    scheduleCommands();
}

// Commands are carried out from the main loop, never from within a call of the prompt's.
void LinePromptPresenter::scheduleCommands()
{
    if (!commands_.empty())
        mainThread_.perform([this] { carryOutWaiting(); });
}

void LinePromptPresenter::carryOutWaiting()
{
    while (!commands_.empty() && mayCarryOut())
        carryOutNext();
}

// A prompt whose query is answered already is as good as closed: what comes now is meant for the
// next one. A command may run the main loop (an authentication dialog): the prompt it is carried
// out on takes no other meanwhile, a later one does.
bool LinePromptPresenter::mayCarryOut() const
{
    return open_ && !open_->isOver() && id_ != busy_ && id_ != leftAlone_ && !output_.isBroken();
}

void LinePromptPresenter::carryOutNext()
{
    const Waiting next = std::move(commands_.front());
    commands_.pop_front();
    const std::int64_t id = id_;
    if (next.command.kind == ScriptCommand::Kind::Wait) {
        leftAlone_ = id;
        return;
    }
    busy_ = id;
    Refusal refusal;
    if (next.command.kind == ScriptCommand::Kind::Act)
        refusal = open_->carryOut(next.command.act); // which may close it
    if (busy_ == id)
        busy_ = 0;
    if (refusal)
        refuse(next.text, *refusal);
    else if (id_ == id)
        tellState();
}

// Nothing is told of a prompt that the command closed, nor after its end.
void LinePromptPresenter::tellState()
{
    if (!open_)
        return;
    const Json state = promptJson(open_->view(), open_->countdown().secondsLeft());
    const MutexLock lock(mutex_);
    if (shown_ == id_)
        output_.write({{"event", "state"}, {"id", id_}, {"state", state}});
}

void LinePromptPresenter::refuse(std::string_view command, const std::string& reason)
{
    output_.write({{"event", "error"}, {"command", toValidUtf8(command)}, {"reason", reason}});
}

}
