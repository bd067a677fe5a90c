#include "frontends/lines/line_interface.h"

#include "frontends/lines/line_output.h"
#include "frontends/lines/line_prompt_presenter.h"
#include "frontends/lines/line_reader.h"
#include "frontends/lines/line_services.h"
#include "hosts/linux/no_windows.h"
#include "platform/threads.h"

namespace vossel {

namespace {

class LineInterface final : public UserInterface {
public:
    LineInterface(const Surroundings& around, int input, int output)
        : around_(around)
        , output_(descriptorWriter(output), [this] { loseReader(); })
        , notifications_(output_)
        , notices_(output_)
        , prompts_(output_, around_.mainThread)
        , reader_(input, around_.mainThread,
              [this](std::string_view line, bool tooLong) { prompts_.take(line, tooLong); })
    {
    }

    AlertSound& alertSound() override { return alertSound_; }
    NotificationCentre& notifications() override { return notifications_; }
    Notices& notices() override { return notices_; }
    ProcessControl& processControl() override { return around_.processControl; }
    WindowSystem& windows() override { return windows_; }
    PersonQuestion* question() override { return nullptr; }
    PromptPresenter& presenter() override { return prompts_; }
    ResponseListener& responses() override { return prompts_; }
    bool start(ThreadLauncher& threads) override { return reader_.start(threads); }
    void stop() override { reader_.stop(); }
    void filterStatusChanged(std::int32_t status) override
    {
        output_.write({{"event", "status"}, {"status", status}});
    }

private:
    // Any thread.
    void loseReader()
    {
        around_.mainThread.perform([lost = around_.lost] {
            lost("nobody reads the events; there is no way to ask anybody");
        });
    }

    const Surroundings around_;
    LineOutput output_;
    LineAlertSound alertSound_;
    LineNotifications notifications_;
    LineNotices notices_;
    NoWindows windows_;
    LinePromptPresenter prompts_;
    LineReader reader_;
};

}

UserInterface::Factory lineInterface(int input, int output)
{
    return [input, output](const UserInterface::Surroundings& around) {
        return std::make_unique<LineInterface>(around, input, output);
    };
}

}
