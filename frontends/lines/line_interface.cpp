#include "frontends/lines/line_interface.h"

#include "frontends/lines/line_output.h"
#include "frontends/lines/line_prompt_presenter.h"
#include "frontends/lines/line_reader.h"
#include "frontends/lines/line_services.h"
#include "hosts/linux/no_windows.h"
#include "platform/threads.h"

#include <sys/stat.h>

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

    UserServices services() override
    {
        return {
            .notifications = notifications_,
            .notices = notices_,
            .windows = windows_,
            .processControl = around_.processControl,
            .alertSound = alertSound_,
        };
    }
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

bool isConnected(int fd)
{
    struct stat status { };
    return ::fstat(fd, &status) == 0 && !S_ISCHR(status.st_mode);
}

class LineFrontEnd final : public FrontEnd {
public:
    LineFrontEnd(int input, int output)
        : input_(input)
        , output_(output)
    {
    }

    std::string_view name() const override { return "lines"; }
    std::optional<std::string> whyNot(bool named) override
    {
        if (named || (isConnected(input_) && isConnected(output_)))
            return std::nullopt;
        return "a script asks with --prompt lines";
    }
    int run(int, char**, const Serve& serve) override
    {
        return serve([this](const UserInterface::Surroundings& around) {
            return std::make_unique<LineInterface>(around, input_, output_);
        });
    }

private:
    const int input_;
    const int output_;
};

}

std::unique_ptr<FrontEnd> lineFrontEnd(int input, int output)
{
    return std::make_unique<LineFrontEnd>(input, output);
}

}
