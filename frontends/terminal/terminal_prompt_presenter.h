#pragma once

#include "agent/driver_link_interfaces.h"
#include "frontends/terminal/prompt_terminal.h"
#include "frontends/terminal/typed_answer.h"
#include "frontends/terminal/typing_guard.h"
#include "platform/alert_sound.h"
#include "platform/person_question.h"
#include "ui/prompt/prompt_presenter.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

class MainThread;
class ShownPrompt;
class TerminalMessages;

// Shows prompts on a terminal and feeds its keys to them. It owns the terminal while a prompt
// stands on it, and a question that is asked there; it has neither words nor rules of a prompt. The
// terminal is chosen for each prompt; as long as there is none, it is looked for once a second. It
// is given back before the program that asked goes on. Main thread, but for didDeliverResponse().
class TerminalPromptPresenter final : public PromptPresenter,
                                      public ResponseListener,
                                      public AlertSound,
                                      public PersonQuestion {
public:
    struct Services {
        Clock& clock;
        Timers& timers;
        MainThread& mainThread;
        WatchDescriptor watch;
    };

    TerminalPromptPresenter(Services services, TerminalChoice& choice, TerminalMessages& messages);
    ~TerminalPromptPresenter() override;
    // Gives the terminal back for good.
    void leave();
    // The size of the terminal has changed, as far as a signal tells; it is looked for every second
    // anyway.
    void terminalResized();

    void promptOpened(ShownPrompt& prompt) override;
    void promptChanged(ShownPrompt&) override { paint(); }
    void promptClosed(ShownPrompt& prompt) override;

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
    struct Question {
        std::string text;
        Answer answer;
        TypedAnswer typed;
    };

    void letGo();
    void appear();
    void disappear();
    void moveAway();
    void watchProgram();
    void paint();
    void tick();
    void scheduleTick();

    void takeKeys(const std::vector<TerminalKey>& keys);
    void takeKey(const TerminalKey& key, bool amongText);
    void press(const KeyBinding& binding, const TerminalKey& key);
    void carryOut(PromptAct act);
    void answerQuestion(const TerminalKey& key);
    void endQuestion(std::optional<std::string> answer);

    const Services services_;
    TerminalChoice& choice_;
    TerminalMessages& messages_;

    ShownPrompt* open_ = nullptr;
    std::int32_t pid_ = 0; // of the program that it asks about
    std::uint64_t opening_ = 0; // counts prompts that opened or closed
    std::string subject_; // of the latest prompt: who wanted what
    std::optional<TerminalChoice::Place> place_; // where the prompt stands, if anywhere
    std::unique_ptr<PromptTerminal> screen_; // there
    UniqueFd program_; // readable when the program has ended
    std::shared_ptr<void> programWatch_; // goes before its descriptor
    Timers::Timer tick_ = 0;
    bool rung_ = false; // for this prompt, which stands nowhere yet
    bool sounded_ = false; // since the last key
    TypingGuard typing_; // on this prompt
    std::string message_;
    bool help_ = false;
    std::unique_ptr<Question> question_;
};

}
