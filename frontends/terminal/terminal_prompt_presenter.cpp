#include "frontends/terminal/terminal_prompt_presenter.h"

#include "foundation/log.h"
#include "foundation/text_format.h"
#include "frontends/terminal/prompt_screen.h"
#include "frontends/terminal/prompt_sentences.h"
#include "frontends/terminal/terminal_choice.h"
#include "frontends/terminal/terminal_messages.h"
#include "platform/threads.h"
#include "ui/prompt/shown_prompt.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <string.h>
#include <utility>

namespace vossel {

namespace {

// The terminal is given back this much before the query is answered in the user's place: what the
// program then writes must not go to the prompt's screen.
constexpr Clock::Duration leavesEarly = std::chrono::milliseconds(100);

}

TerminalPromptPresenter::TerminalPromptPresenter(
    Services services, TerminalChoice& choice, TerminalMessages& messages)
    : services_(std::move(services))
    , choice_(choice)
    , messages_(messages)
{
}

TerminalPromptPresenter::~TerminalPromptPresenter()
{
    services_.timers.cancel(tick_);
}

void TerminalPromptPresenter::leave()
{
    if (open_)
        letGo();
}

// --- prompts ------------------------------------------------------------------------------------

void TerminalPromptPresenter::promptOpened(ShownPrompt& prompt)
{
    subject_.clear();
    if (prompt.isOver())
        return;
    ++opening_;
    open_ = &prompt;
    rung_ = false;
    help_ = false;
    typing_ = {};
    message_.clear();
    const PromptView view = prompt.view();
    pid_ = view.pid;
    subject_ = formatText("%@: %@", {view.displayName, view.file.text});
    appear();
    scheduleTick();
}

void TerminalPromptPresenter::promptClosed(ShownPrompt& prompt)
{
    if (open_ == &prompt)
        letGo();
}

void TerminalPromptPresenter::letGo()
{
    ++opening_;
    open_ = nullptr;
    endQuestion(std::nullopt);
    disappear();
    services_.timers.cancel(std::exchange(tick_, 0));
}

void TerminalPromptPresenter::appear()
{
    place_ = choice_.placeFor(pid_);
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
void TerminalPromptPresenter::watchProgram()
{
    program_.reset(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    if (!program_)
        return;
    programWatch_ = services_.watch(program_.get(), [this] {
        programWatch_.reset();
        if (screen_ && !choice_.isStillFree(*place_, pid_))
            moveAway();
    });
}

void TerminalPromptPresenter::disappear()
{
    screen_.reset();
    place_.reset();
    programWatch_.reset();
    program_.reset();
    messages_.hold(false);
}

// The terminal has gone, or somebody else reads its keys now.
void TerminalPromptPresenter::moveAway()
{
    endQuestion(std::nullopt);
    disappear();
    if (open_)
        appear();
}

// --- showing ------------------------------------------------------------------------------------

void TerminalPromptPresenter::paint()
{
    if (!screen_ || !open_)
        return;
    PromptScreenState state{
        open_->view(), open_->countdown().secondsLeft(), message_, help_, std::nullopt};
    if (question_)
        state.question = ShownQuestion{question_->text, question_->typed.shown()};
    screen_->paint(promptScreen(state, screen_->area(), screen_->charset()));
}

void TerminalPromptPresenter::terminalResized()
{
    if (screen_ && screen_->followSize())
        paint();
}

void TerminalPromptPresenter::scheduleTick()
{
    const PromptCountdown countdown = open_->countdown();
    if (countdown.left() <= leavesEarly)
        return;
    const bool isLast = countdown.left() == countdown.untilNextSecond();
    services_.timers.cancel(tick_);
    tick_ = services_.timers.once(
        countdown.untilNextSecond() - (isLast ? leavesEarly : Clock::Duration::zero()),
        [this] { tick(); });
}

void TerminalPromptPresenter::tick()
{
    tick_ = 0;
    if (open_->countdown().left() <= leavesEarly) {
        disappear();
        return;
    }
    if (screen_ && (screen_->vanished() || !choice_.isStillFree(*place_, pid_))) {
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

void TerminalPromptPresenter::takeKeys(const std::vector<TerminalKey>& keys)
{
    // The program may just have been killed: its shell has the keys now.
    if (!choice_.isStillFree(*place_, pid_)) {
        moveAway();
        return;
    }
    const std::uint64_t opening = opening_;
    const bool amongText = TypingGuard::areText(keys);
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

void TerminalPromptPresenter::takeKey(const TerminalKey& key, bool amongText)
{
    const KeyBinding binding = bindingOf(key);
    const bool typing = typing_.isTyping(key, binding, services_.clock.now()) || amongText;
    message_.clear();
    if (binding.decides && typing) {
        play();
        message_ = "Keys came too fast to be an answer.";
    } else if (binding.meaning == KeyBinding::Meaning::Help) {
        help_ = !help_;
    } else if (binding.meaning == KeyBinding::Meaning::Press) {
        press(binding, key);
    } else {
        carryOut(binding.act);
    }
}

// The prompt may be gone afterwards, and another open.
void TerminalPromptPresenter::press(const KeyBinding& binding, const TerminalKey& key)
{
    const std::uint64_t opening = opening_;
    sounded_ = false;
    open_->keyDown(binding.event);
    if (opening_ == opening && sounded_)
        message_ = refusedKeySentence(key, binding, open_->view().touchBarOnly);
}

void TerminalPromptPresenter::carryOut(PromptAct act)
{
    if (act.kind == PromptAct::Kind::Updates)
        act.number = open_->view().updates.checked ? 0 : 1;
    const std::uint64_t opening = opening_;
    const Refusal refusal = open_->carryOut(act);
    if (!refusal || opening_ != opening)
        return;
    play();
    message_ = *refusal;
}

void TerminalPromptPresenter::play()
{
    sounded_ = true;
    if (screen_)
        screen_->bell();
}

// --- questions ----------------------------------------------------------------------------------

void TerminalPromptPresenter::ask(const std::string& text, bool echo, Answer answer)
{
    endQuestion(std::nullopt);
    if (!screen_) {
        services_.mainThread.perform([answer = std::move(answer)] { answer(std::nullopt); });
        return;
    }
    question_.reset(new Question{text, std::move(answer), TypedAnswer(echo)});
    paint();
}

void TerminalPromptPresenter::tell(const std::string& text)
{
    message_ = text;
    paint();
}

void TerminalPromptPresenter::withdraw()
{
    question_.reset();
    paint();
}

void TerminalPromptPresenter::answerQuestion(const TerminalKey& key)
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

// An asker who gets no answer hears of it later, for it may be the one who calls this.
void TerminalPromptPresenter::endQuestion(std::optional<std::string> answer)
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

void TerminalPromptPresenter::didDeliverResponse(
    const user_prompt_response& response, QueryWait::Outcome outcome)
{
    const std::string text = outcomeSentence(response, outcome);
    if (text.empty())
        return;
    services_.mainThread.perform([this, text] {
        if (!subject_.empty())
            messages_.say(subject_ + ": " + text);
    });
}

}
