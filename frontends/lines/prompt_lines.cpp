#include "frontends/lines/prompt_lines.h"

#include "foundation/log.h"
#include "foundation/utf8.h"
#include "frontends/lines/line_output.h"
#include "frontends/lines/prompt_commands.h"
#include "frontends/lines/prompt_state.h"
#include "platform/threads.h"
#include "prompting/permissions_manager.h"

#include <algorithm>
#include <type_traits>
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

PromptLines::PromptLines(LineOutput& output, MainThread& mainThread, Clock& clock)
    : output_(output)
    , mainThread_(mainThread)
    , clock_(clock)
{
}

// --- prompts ------------------------------------------------------------------------------------

void PromptLines::promptOpened(QMPermissionsWindow& prompt)
{
    opened(&prompt, "advanced");
}

void PromptLines::promptOpened(QMSimplePermissionsWindow& prompt)
{
    opened(&prompt, "simple");
}

void PromptLines::promptClosed(QMPermissionsWindow& prompt)
{
    closed(&prompt);
}

void PromptLines::promptClosed(QMSimplePermissionsWindow& prompt)
{
    closed(&prompt);
}

void PromptLines::opened(Prompt prompt, const char* kind)
{
    const auto& wait = manager_->shownWait();
    if (!wait)
        return;
    const MutexLock lock(mutex_);
    // Answered before anybody could see it. While this lock is held its end cannot be told, so a
    // prompt that is told here is told before its end.
    if (wait->isOver())
        return;
    if (wait != wait_) {
        wait_ = wait;
        ++id_;
    }
    open_ = prompt;
    shown_ = id_;
    output_.write({{"event", "prompt"}, {"id", id_}, {"kind", kind}, {"state", stateOf(prompt)}});
    scheduleCommands();
}

void PromptLines::closed(const Prompt& prompt)
{
    if (open_ == prompt)
        open_ = std::monostate();
}

void PromptLines::didDeliverResponse(
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

Json PromptLines::stateOf(const Prompt& prompt) const
{
    return std::visit(
        [this](const auto& shown) -> Json {
            if constexpr (std::is_same_v<std::decay_t<decltype(shown)>, std::monostate>)
                return Json::object();
            else
                return promptState(*shown, secondsLeft());
        },
        prompt);
}

std::int64_t PromptLines::secondsLeft() const
{
    const auto left = wait_->deadline() - clock_.now();
    return std::max<std::int64_t>(0, std::chrono::ceil<std::chrono::seconds>(left).count());
}

// --- commands -----------------------------------------------------------------------------------

void PromptLines::take(std::string_view line, bool tooLong)
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
    const auto command = parseLineCommand(line);
    if (!command)
        refuse(line, command.reason());
    else if (commands_.size() == mostWaiting)
        refuse(line, "too many commands wait already");
    else
        commands_.push_back({*command, std::string(line.substr(0, LineSplitter::shownOfLongLine))});
    scheduleCommands();
}

// Commands are carried out from the main loop, never from within a call of the prompt's.
void PromptLines::scheduleCommands()
{
    if (!commands_.empty())
        mainThread_.perform([this] { carryOutWaiting(); });
}

void PromptLines::carryOutWaiting()
{
    while (!commands_.empty() && mayCarryOut())
        carryOutNext();
}

// A prompt whose query is answered already is as good as closed: what comes now is meant for the
// next one. A command may run the main loop (an authentication dialog): the prompt it is carried
// out on takes no other meanwhile, a later one does.
bool PromptLines::mayCarryOut() const
{
    return !std::holds_alternative<std::monostate>(open_) && !wait_->isOver() && id_ != busy_
        && id_ != leftAlone_ && !output_.isBroken();
}

void PromptLines::carryOutNext()
{
    const Waiting next = std::move(commands_.front());
    commands_.pop_front();
    const std::int64_t id = id_;
    if (next.command.kind == LineCommand::Kind::Wait) {
        leftAlone_ = id;
        return;
    }
    busy_ = id;
    const Prompt open = open_; // the command may close it
    const auto refusal = std::visit(
        [&](auto prompt) -> std::optional<std::string> {
            if constexpr (std::is_same_v<decltype(prompt), std::monostate>)
                return std::nullopt;
            else
                return carryOut(next.command, *prompt);
        },
        open);
    if (busy_ == id)
        busy_ = 0;
    if (refusal)
        refuse(next.text, *refusal);
    else if (id_ == id)
        tellState();
}

// Nothing is told of a prompt that the command closed, nor after its end.
void PromptLines::tellState()
{
    if (std::holds_alternative<std::monostate>(open_))
        return;
    const Json state = stateOf(open_);
    const MutexLock lock(mutex_);
    if (shown_ == id_)
        output_.write({{"event", "state"}, {"id", id_}, {"state", state}});
}

void PromptLines::refuse(std::string_view command, const std::string& reason)
{
    output_.write({{"event", "error"}, {"command", toValidUtf8(command)}, {"reason", reason}});
}

}
