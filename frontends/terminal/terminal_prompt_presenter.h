#pragma once

#include "agent/driver_link_interfaces.h"
#include "frontends/terminal/key_bindings.h"
#include "frontends/terminal/prompt_screen.h"
#include "frontends/terminal/prompt_terminal.h"
#include "frontends/terminal/typed_answer.h"
#include "platform/alert_sound.h"
#include "platform/person_question.h"
#include "ui/prompt/presenter_by_kind.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vossel {

class MainThread;
class PermissionsManager;
class Processes;
class QueryWait;
class TerminalMessages;

// Shows prompts on a terminal and feeds its keys to them. The terminal is chosen for each prompt;
// as long as there is none, it is looked for once a second. It is given back before the program
// that asked goes on. Main thread, but for didDeliverResponse().
class TerminalPrompts final : public PresenterByKind,
                              public ResponseListener,
                              public AlertSound,
                              public PersonQuestion {
public:
    struct Services {
        Clock& clock;
        Timers& timers;
        MainThread& mainThread;
        const Processes& processes;
        WatchDescriptor watch;
    };

    TerminalPrompts(Services services, TerminalChoice& choice, TerminalMessages& messages);
    ~TerminalPrompts() override;
    // Before the first prompt. The manager goes first of the two: going, it closes its prompts.
    void setManager(const PermissionsManager* manager) { manager_ = manager; }
    // Gives the terminal back for good.
    void leave();
    // The size of the terminal has changed, as far as a signal tells; it is looked for every second
    // anyway.
    void terminalResized();

    void promptOpened(QMPermissionsWindow& prompt) override;
    void promptOpened(QMSimplePermissionsWindow& prompt) override;
    void promptChanged(QMPermissionsWindow&) override { paint(); }
    void promptChanged(QMSimplePermissionsWindow&) override { paint(); }
    void promptClosed(QMPermissionsWindow& prompt) override { closed(&prompt); }
    void promptClosed(QMSimplePermissionsWindow& prompt) override { closed(&prompt); }

    // The query's thread: leaves a line on what became of a prompt that was shown.
    void didDeliverResponse(
        const user_prompt_response& response, QueryWait::Outcome outcome) override;

    // The bell of the terminal that the prompt stands on.
    void play() override;

    // Asked in the prompt, on its terminal; without one there is nobody to answer.
    void ask(const std::string& text, bool echo, Answer answer) override;
    void tell(const std::string& text) override;
    void withdraw() override;

private:
    using Prompt = std::variant<std::monostate, QMPermissionsWindow*, QMSimplePermissionsWindow*>;
    struct Question {
        std::string text;
        Answer answer;
        TypedAnswer typed;
    };

    void opened(Prompt prompt, std::int64_t recommendedProcess);
    void closed(const Prompt& prompt);
    void appear();
    void disappear();
    void moveAway();
    void watchProgram();
    void paint();
    [[nodiscard]] TerminalView view() const;
    [[nodiscard]] std::int32_t pid() const;
    [[nodiscard]] Clock::Duration timeLeft() const;
    void tick();
    void scheduleTick();

    void takeKeys(const std::vector<TerminalKey>& keys);
    void takeKey(const TerminalKey& key, bool amongText);
    void press(const KeyBinding& binding, const TerminalKey& key);
    void carryOut(KeyBinding::Act act);
    void answerQuestion(const TerminalKey& key);
    void endQuestion(std::optional<std::string> answer);

    const Services services_;
    TerminalChoice& choice_;
    TerminalMessages& messages_;
    const PermissionsManager* manager_ = nullptr;

    Prompt open_;
    std::uint64_t opening_ = 0; // counts prompts that opened or closed
    std::shared_ptr<QueryWait> wait_; // of the latest prompt
    std::int64_t recommendedProcess_ = -1;
    std::string subject_; // of the latest prompt: who wanted what
    std::optional<TerminalChoice::Place> place_; // where the prompt stands, if anywhere
    std::unique_ptr<PromptTerminal> screen_; // there
    UniqueFd program_; // readable when the program has ended
    std::shared_ptr<void> programWatch_; // goes before its descriptor
    Timers::Timer tick_ = 0;
    bool rung_ = false; // for this prompt, which stands nowhere yet
    bool sounded_ = false; // since the last key
    std::optional<Clock::Instant> lastLetter_; // when one was typed on this prompt
    std::string message_;
    bool help_ = false;
    std::unique_ptr<Question> question_;
};

}
