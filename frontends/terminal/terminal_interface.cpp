#include "frontends/terminal/terminal_interface.h"

#include "agent/filter_status.h"
#include "frontends/terminal/hang_up_filter.h"
#include "frontends/terminal/terminal_choice.h"
#include "frontends/terminal/terminal_messages.h"
#include "frontends/terminal/terminal_prompt_presenter.h"
#include "hosts/desktop/qt_descriptor_watch.h"
#include "hosts/desktop/signal_calls.h"
#include "hosts/linux/no_windows.h"
#include "platform/threads.h"

#include <signal.h>
#include <unistd.h>

#include <utility>

namespace vossel {

namespace {

class TerminalInterface final : public UserInterface {
public:
    TerminalInterface(const Surroundings& around, TerminalChoice terminals)
        : terminals_(std::move(terminals))
        , hangUps_(around.processControl, around.clock,
              [this, own = terminals_.own()->device, &mainThread = around.mainThread] {
                  if (!own->vanished())
                      return false;
                  mainThread.perform([this] { terminals_.forgetVanished(); });
                  return true;
              })
        , messages_(terminals_, around.mainThread)
        , notifications_(messages_)
        , notices_(messages_)
        , prompts_({around.clock, around.timers, around.mainThread, watchDescriptor}, terminals_,
              messages_)
        , resizes_({SIGWINCH}, [this] { prompts_.terminalResized(); })
    {
    }

    UserServices services() override
    {
        return {
            .notifications = notifications_,
            .notices = notices_,
            .windows = windows_,
            .processControl = hangUps_,
            .alertSound = prompts_,
        };
    }
    PersonQuestion* question() override { return &prompts_; }
    PromptPresenter& presenter() override { return prompts_; }
    ResponseListener& responses() override { return prompts_; }
    bool start(ThreadLauncher&) override
    {
        messages_.say("Vossel asks here, or on the program's own terminal. Control-C between "
                      "prompts ends it.");
        return true;
    }
    void stop() override { prompts_.leave(); }
    void filterStatusChanged(std::int32_t status) override
    {
        if (status == FILTER_ENABLED)
            messages_.say("The filter is on.");
        else if (status == FILTER_DISABLED)
            messages_.say("The filter is off, or there is no driver.");
    }

private:
    TerminalChoice terminals_;
    HangUpFilter hangUps_;
    TerminalMessages messages_;
    TerminalNotifications notifications_;
    TerminalNotices notices_;
    NoWindows windows_;
    TerminalPromptPresenter prompts_;
    SignalCalls resizes_;
};

class TerminalFrontEnd final : public FrontEnd {
public:
    explicit TerminalFrontEnd(const TerminalOptions& options)
        : options_(options)
    {
    }

    std::string_view name() const override { return "terminal"; }
    std::optional<std::string> whyNot(bool) override
    {
        if (options_.logToStandardError && ::isatty(STDERR_FILENO))
            return "the log would be written over the prompts; redirect it: 2>FILE";
        auto terminals = TerminalChoice::open();
        if (!terminals)
            return terminals.reason();
        terminals_ = std::move(*terminals);
        if (options_.ownTerminalOnly)
            terminals_->useOwnOnly();
        return std::nullopt;
    }
    int run(int, char**, const Serve& serve) override
    {
        return serve([this](const UserInterface::Surroundings& around) {
            return std::make_unique<TerminalInterface>(around, std::move(*terminals_));
        });
    }

private:
    const TerminalOptions options_;
    std::optional<TerminalChoice> terminals_; // the user's, once they are known to be there
};

}

std::unique_ptr<FrontEnd> terminalFrontEnd(const TerminalOptions& options)
{
    return std::make_unique<TerminalFrontEnd>(options);
}

}
