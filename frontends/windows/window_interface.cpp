#include "frontends/windows/window_interface.h"

#include "agent/driver_link_interfaces.h"
#include "frontends/windows/notice_windows.h"
#include "frontends/windows/program_icons.h"
#include "frontends/windows/qt_windows.h"
#include "frontends/windows/question_window.h"
#include "frontends/windows/unknown_origins.h"
#include "frontends/windows/window_platform.h"
#include "frontends/windows/window_prompt_presenter.h"
#include "hosts/desktop/dark_desktop.h"
#include "hosts/desktop/desktop_notifications.h"
#include "hosts/desktop/qt_descriptor_watch.h"
#include "hosts/x11/x11_input_origins.h"

#include <QApplication>
#include <QPalette>
#include <QPixmapCache>

#include <cstdio>

namespace vossel {

namespace {

constexpr std::int32_t noticeSeconds = 10;
constexpr int maxCachedPixmaps = 1024; // kB

struct Origins {
    std::unique_ptr<InputOrigins> of;
    InputGuard::EventTimes times = InputGuard::EventTimes::Unknown;
};

// Says at once where input cannot be told apart, for that is what the user relies on.
Origins originsHere(Clock& clock)
{
    std::string reason = "this window system does not tell who pressed a key";
    if (QGuiApplication::platformName() == "xcb") {
        auto origins = X11InputOrigins::create(watchDescriptor);
        if (origins)
            return {std::move(*origins), InputGuard::EventTimes::OfWindowSystem};
        reason = origins.reason();
    }
    std::fprintf(stderr,
        "VosselUserAgent: %s; programs that press keys or click in a prompt are not refused\n",
        reason.c_str());
    return {std::make_unique<UnknownOrigins>(clock)};
}

bool isDarkByPalette()
{
    const QPalette palette = QApplication::palette();
    return palette.color(QPalette::Window).lightness()
        < palette.color(QPalette::WindowText).lightness();
}

class WindowInterface final : public UserInterface, private ResponseListener {
public:
    explicit WindowInterface(const Surroundings& around)
        : around_(around)
        , origins_(originsHere(around.clock))
        , windows_([this](const std::string& program, const std::string& file) {
            unstored_ = icons_.store(program, file) ? Unstored{} : Unstored{file, program};
        })
        , notices_(around.mainThread,
              [this] {
                  if (PromptDialog* prompt = prompts_.window())
                      prompt->stayAbove();
              })
        , notifications_(around.mainThread, around.clock,
              [this](const UserNotification& notification) {
                  notices_.display({.header = notification.title,
                      .message = notification.informativeText,
                      .icon = {},
                      .timeoutSeconds = noticeSeconds});
              })
        , prompts_({around.clock, around.timers, *origins_.of, origins_.times,
              [this](const ImageSource& source, int pixels) { return imageOf(source, pixels); },
              [] { QApplication::beep(); }})
        , dark_([this](bool dark) { setDark(dark); })
    {
        setDark(isDarkByPalette());
    }

    UserServices services() override
    {
        return {
            .notifications = notifications_,
            .notices = notices_,
            .windows = windows_,
            .processControl = around_.processControl,
            .alertSound = prompts_,
        };
    }
    PersonQuestion* question() override { return &question_; }
    PromptPresenter& presenter() override { return prompts_; }
    ResponseListener& responses() override { return *this; }
    bool start(ThreadLauncher&) override { return true; }
    void stop() override { notices_.closeAll(); }
    void filterStatusChanged(std::int32_t) override { }

private:
    // The picture that should stand in a file but cannot be written there: another user's may.
    struct Unstored {
        std::string file;
        std::string program;
    };

    QImage imageOf(const ImageSource& source, int pixels)
    {
        switch (source.kind) {
        case ImageSource::Kind::File:
            return source.path == unstored_.file
                ? icons_.image(unstored_.program, QSize(pixels, pixels))
                : ProgramIcons::load(source.path);
        case ImageSource::Kind::WorkspaceIcon:
            return ProgramIcons::workspaceIcon(source.path).pixmap(pixels, pixels).toImage();
        case ImageSource::Kind::None:
        case ImageSource::Kind::Resource:
            break;
        }
        return {};
    }
    // The window is gone by then, which says enough.
    void didDeliverResponse(const user_prompt_response&, QueryWait::Outcome) override { }
    void setDark(bool dark)
    {
        const ColorScheme scheme = dark ? ColorScheme::Dark : ColorScheme::Light;
        prompts_.setColorScheme(scheme);
        notices_.setColorScheme(scheme);
        question_.setColorScheme(scheme);
    }

    const Surroundings around_;
    const Origins origins_;
    ProgramIcons icons_;
    Unstored unstored_;
    QtWindows windows_;
    NoticeWindows notices_;
    DesktopNotifications notifications_;
    QuestionWindow question_;
    WindowPromptPresenter prompts_;
    DarkDesktop dark_;
};

class WindowFrontEnd final : public FrontEnd {
public:
    std::string_view name() const override { return "windows"; }
    std::optional<std::string> whyNot(bool) override
    {
        auto platform = windowPlatform();
        if (!platform)
            return platform.reason();
        platform_ = std::move(*platform);
        return std::nullopt;
    }
    int run(int argc, char** argv, const Serve& serve) override
    {
        qputenv("QT_QPA_PLATFORM", platform_.name.c_str());
        const QApplication application(argc, argv);
        platform_.connection.reset();
        QApplication::setApplicationName("Vossel");
        QApplication::setQuitOnLastWindowClosed(false);
        QPixmapCache::setCacheLimit(maxCachedPixmaps);
        return serve([](const UserInterface::Surroundings& around) {
            return std::make_unique<WindowInterface>(around);
        });
    }

private:
    WindowPlatform platform_;
};

}

std::unique_ptr<FrontEnd> windowFrontEnd()
{
    return std::make_unique<WindowFrontEnd>();
}

}
