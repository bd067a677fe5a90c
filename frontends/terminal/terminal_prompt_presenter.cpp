#include "frontends/terminal/terminal_prompts.h"

#include "foundation/log.h"
#include "foundation/text_format.h"
#include "frontends/lines/line_command.h"
#include "frontends/lines/prompt_commands.h"
#include "frontends/terminal/terminal_choice.h"
#include "frontends/terminal/terminal_messages.h"
#include "platform/threads.h"
#include "prompting/permissions_manager.h"
#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <string.h>
#include <type_traits>
#include <utility>

namespace vossel {

namespace {

// The terminal is given back this much before the query is answered in the user's place: what the
// program then writes must not go to the prompt's screen.
constexpr Clock::Duration leavesEarly = std::chrono::milliseconds(100);
// An answer is one key, not the next one of what is typed for something else.
constexpr Clock::Duration afterLetters = std::chrono::milliseconds(500);
constexpr Clock::Duration second = std::chrono::seconds(1);

// What was decided, in words; empty for what was not shown.
std::string outcomeText(const user_prompt_response& response, QueryWait::Outcome outcome)
{
    static constexpr const char* durations[]
        = {"once", "until it quits", "until restart", "forever"};
    switch (outcome) {
    case QueryWait::Outcome::Waiting:
        return {};
    case QueryWait::Outcome::TimedOut:
        return "not answered in time, denied";
    case QueryWait::Outcome::Cancelled:
        return "withdrawn";
    case QueryWait::Outcome::Reevaluated:
        return "left to the rules";
    case QueryWait::Outcome::Answered:
        break;
    }
    std::string text = response.decision == DECISION_ALLOW ? "allowed" : "denied";
    if (response.duration >= DURATION_ONCE && response.duration <= DURATION_FOREVER)
        text += std::string(", ") + durations[response.duration];
    return text;
}

// Why a key was answered by the alert sound only.
const char* refusal(const TerminalKey& key, const KeyBinding& binding, bool touchBarOnly)
{
    if (binding.decides && touchBarOnly)
        return "No key answers this prompt; it is denied when its time is over.";
    if (key.kind == TerminalKey::Kind::Return)
        return "Return alone answers nothing: Alt-Return or a capital A allows, Escape denies.";
    if (key.kind == TerminalKey::Kind::Pasted)
        return "What is pasted is not taken for keys.";
    return "This key means nothing here; ? shows those that do.";
}

}

TerminalPrompts::TerminalPrompts(
    Services services, TerminalChoice& choice, TerminalMessages& messages)
    : services_(std::move(services))
    , choice_(choice)
    , messages_(messages)
{
}

TerminalPrompts::~TerminalPrompts()
{
    services_.timers.cancel(tick_);
}

void TerminalPrompts::leave()
{
    closed(open_);
}

// --- prompts ------------------------------------------------------------------------------------

void TerminalPrompts::promptOpened(QMPermissionsWindow& prompt)
{
    opened(&prompt, prompt.controls().applicationNamePopUp.selectedIndex());
}

void TerminalPrompts::promptOpened(QMSimplePermissionsWindow& prompt)
{
    opened(&prompt, -1);
}

void TerminalPrompts::opened(Prompt prompt, std::int64_t recommendedProcess)
{
    wait_ = manager_->shownWait();
    subject_.clear();
    if (!wait_ || wait_->isOver())
        return;
    ++opening_;
    open_ = prompt;
    recommendedProcess_ = recommendedProcess;
    rung_ = false;
    help_ = false;
    lastLetter_.reset();
    message_.clear();
    subject_ = std::visit(
        [this](auto shown) -> std::string {
            if constexpr (std::is_same_v<decltype(shown), std::monostate>)
                return {};
            else
                return formatText("%@: %@",
                    {manager_->manicureDisplayPathForQuery(shown->policyQuery()),
                        textOf(shown->policyQuery().path)});
        },
        open_);
    appear();
    scheduleTick();
}

void TerminalPrompts::closed(const Prompt& prompt)
{
    if (open_ != prompt)
        return;
    ++opening_;
    open_ = {};
    endQuestion(std::nullopt);
    disappear();
    services_.timers.cancel(std::exchange(tick_, 0));
}

void TerminalPrompts::appear()
{
    place_ = choice_.placeFor(pid());
    if (!place_) {
        if (!std::exchange(rung_, true)) {
            logText("nobody can be asked now about %@: no terminal is free", subject_);
            if (const auto& own = choice_.own())
                own->device->write("\a");
        }
        return;
    }
    if (choice_.own() && place_->device == choice_.own()->device)
        messages_.hold(true);
    screen_ = std::make_unique<PromptTerminal>(
        PromptTerminal::Services{services_.clock, services_.timers, services_.watch}, *place_,
        PromptTerminal::Handlers{[this](const std::vector<TerminalKey>& keys) { takeKeys(keys); },
            [this] { moveAway(); }});
    if (!screen_->isTaken()) {
        disappear();
        return;
    }
    paint();
    screen_->bell();
    watchProgram();
}

// When the program ends its shell reads the keys again, and takes the terminal's mode as it finds
// it: it is to be given back at once.
void TerminalPrompts::watchProgram()
{
    program_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid(), 0)));
    if (!program_)
        return;
    programWatch_ = services_.watch(program_.get(), [this] {
        programWatch_.reset();
        if (screen_ && !choice_.isStillFree(*place_, pid()))
            moveAway();
    });
}

void TerminalPrompts::disappear()
{
    screen_.reset();
    place_.reset();
    programWatch_.reset();
    program_.reset();
    messages_.hold(false);
}

// The terminal has gone, or somebody else reads its keys now.
void TerminalPrompts::moveAway()
{
    endQuestion(std::nullopt);
    disappear();
    if (!std::holds_alternative<std::monostate>(open_))
        appear();
}

// --- showing ------------------------------------------------------------------------------------

TerminalView TerminalPrompts::view() const
{
    if (const auto* advanced = std::get_if<QMPermissionsWindow*>(&open_))
        return viewOf(**advanced, *manager_, recommendedProcess_);
    return viewOf(*std::get<QMSimplePermissionsWindow*>(open_), *manager_, services_.processes);
}

std::int32_t TerminalPrompts::pid() const
{
    return std::visit(
        [](auto shown) -> std::int32_t {
            if constexpr (std::is_same_v<decltype(shown), std::monostate>)
                return 0;
            else
                return shown->policyQuery().pid;
        },
        open_);
}

void TerminalPrompts::paint()
{
    if (!screen_ || std::holds_alternative<std::monostate>(open_))
        return;
    PromptScreenState state{view(), 0, message_, help_, std::nullopt};
    state.secondsLeft = std::chrono::ceil<std::chrono::seconds>(timeLeft()).count();
    if (question_)
        state.question = ShownQuestion{question_->text, question_->typed.shown()};
    screen_->paint(promptScreen(state, screen_->area(), screen_->charset()));
}

Clock::Duration TerminalPrompts::timeLeft() const
{
    return std::max(Clock::Duration::zero(), wait_->deadline() - services_.clock.now());
}

void TerminalPrompts::terminalResized()
{
    if (screen_ && screen_->followSize())
        paint();
}

void TerminalPrompts::scheduleTick()
{
    const Clock::Duration left = timeLeft();
    if (left <= leavesEarly)
        return;
    Clock::Duration pause = left % second;
    if (left <= second)
        pause = left - leavesEarly;
    else if (pause == Clock::Duration::zero())
        pause = second;
    services_.timers.cancel(tick_);
    tick_ = services_.timers.once(pause, [this] { tick(); });
}

void TerminalPrompts::tick()
{
    tick_ = 0;
    if (timeLeft() <= leavesEarly) {
        disappear();
        return;
    }
    if (screen_ && (screen_->vanished() || !choice_.isStillFree(*place_, pid()))) {
        moveAway();
    } else if (screen_) {
        (void)screen_->followSize();
        paint();
    } else {
        appear();
    }
    scheduleTick();
}

// --- keys ---------------------------------------------------------------------------------------

void TerminalPrompts::takeKeys(const std::vector<TerminalKey>& keys)
{
    // The program may just have been killed: its shell has the keys now.
    if (!choice_.isStillFree(*place_, pid())) {
        moveAway();
        return;
    }
    const std::uint64_t opening = opening_;
    // A person presses one key at a time; a word is typed for somebody else, or was pasted.
    const bool amongText
        = keys.size() > 1 && std::any_of(keys.begin(), keys.end(), [](const TerminalKey& key) {
              return key.kind == TerminalKey::Kind::Character && !key.control && !key.alt;
          });
    for (const TerminalKey& key : keys) {
        if (question_)
            answerQuestion(key);
        else
            takeKey(key, amongText);
        if (opening_ != opening || !screen_)
            return;
    }
    (void)screen_->followSize();
    paint();
}

void TerminalPrompts::takeKey(const TerminalKey& key, bool amongText)
{
    const KeyBinding binding = bindingOf(key);
    const Clock::Instant now = services_.clock.now();
    const bool typing = amongText || (lastLetter_ && now < *lastLetter_ + afterLetters);
    // Letters that mean something here are no word.
    if (key.kind == TerminalKey::Kind::Character && !key.control && !key.alt && !binding.decides
        && binding.act == KeyBinding::Act::Press)
        lastLetter_ = now;
    message_.clear();
    if (binding.decides && typing) {
        play();
        message_ = "Keys came too fast to be an answer.";
    } else if (binding.act == KeyBinding::Act::Help) {
        help_ = !help_;
    } else if (binding.act == KeyBinding::Act::Press) {
        press(binding, key);
    } else {
        carryOut(binding.act);
    }
}

// The prompt may be gone afterwards, and another open.
void TerminalPrompts::press(const KeyBinding& binding, const TerminalKey& key)
{
    const std::uint64_t opening = opening_;
    sounded_ = false;
    std::visit(
        [&](auto shown) {
            if constexpr (!std::is_same_v<decltype(shown), std::monostate>)
                shown->frame().window.keyDown(binding.event);
        },
        open_);
    if (opening_ != opening || !sounded_)
        return;
    message_ = refusal(key, binding, manager_->requireTouchBar());
}

void TerminalPrompts::carryOut(KeyBinding::Act act)
{
    LineCommand command;
    if (act == KeyBinding::Act::Operations)
        command.kind = LineCommand::Kind::Operations;
    if (act == KeyBinding::Act::Details)
        command.kind = LineCommand::Kind::Advanced;
    if (act == KeyBinding::Act::Updates) {
        command.kind = LineCommand::Kind::Updates;
        const auto* advanced = std::get_if<QMPermissionsWindow*>(&open_);
        command.number
            = advanced && !(*advanced)->controls().allowUpdatesCheckBox.checked() ? 1 : 0;
    }
    const std::uint64_t opening = opening_;
    const auto refused = std::visit(
        [&](auto shown) -> std::optional<std::string> {
            if constexpr (std::is_same_v<decltype(shown), std::monostate>)
                return std::nullopt;
            else
                return vossel::carryOut(command, *shown);
        },
        open_);
    if (!refused || opening_ != opening)
        return;
    play();
    message_ = *refused;
}

void TerminalPrompts::play()
{
    sounded_ = true;
    if (screen_)
        screen_->bell();
}

// --- questions ----------------------------------------------------------------------------------

void TerminalPrompts::ask(const std::string& text, bool echo, Answer answer)
{
    endQuestion(std::nullopt);
    if (!screen_) {
        services_.mainThread.perform([answer = std::move(answer)] { answer(std::nullopt); });
        return;
    }
    question_.reset(new Question{text, std::move(answer), TypedAnswer(echo)});
    paint();
}

void TerminalPrompts::tell(const std::string& text)
{
    message_ = text;
    paint();
}

void TerminalPrompts::withdraw()
{
    question_.reset();
    paint();
}

void TerminalPrompts::answerQuestion(const TerminalKey& key)
{
    switch (question_->typed.take(key)) {
    case TypedAnswer::Step::Typing:
        return;
    case TypedAnswer::Step::Refused:
        play();
        return;
    case TypedAnswer::Step::GivenUp:
        endQuestion(std::nullopt);
        return;
    case TypedAnswer::Step::Sent:
        endQuestion(question_->typed.text());
        return;
    }
}

// Without an answer the asker hears of it later: it may be the one who calls.
void TerminalPrompts::endQuestion(std::optional<std::string> answer)
{
    const auto question = std::exchange(question_, nullptr);
    if (question && answer) {
        question->answer(answer);
        ::explicit_bzero(answer->data(), answer->size());
    } else if (question) {
        services_.mainThread.perform(
            [reply = std::move(question->answer)] { reply(std::nullopt); });
    }
}

// --- afterwards ---------------------------------------------------------------------------------

void TerminalPrompts::didDeliverResponse(
    const user_prompt_response& response, QueryWait::Outcome outcome)
{
    const std::string text = outcomeText(response, outcome);
    if (text.empty())
        return;
    services_.mainThread.perform([this, text] {
        if (!subject_.empty())
            messages_.say(subject_ + ": " + text);
    });
}

}
