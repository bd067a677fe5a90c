#include "app/about_window_controller.h"
#include "app/qm_first_run_window_controller.h"
#include "frontends/windows/application_windows.h"
#include "windows/window_fixture.h"

#include <QProgressBar>
#include <QScrollArea>
#include <gtest/gtest.h>

#include <atomic>

namespace vossel::test {
namespace {

policy_query ordinary()
{
    return documentQuery("/usr/lib/firefox-esr/firefox-esr");
}

policy_query dangerous()
{
    policy_query query = ordinary();
    query.reserved1 = CODE_SIGN_UNSIGNED;
    storeText(query.reserved2, "");
    storeText(query.process_name, "/home/ann/Downloads/setup.bin");
    storeText(query.path, "/private/var/db/lockdown/x.plist");
    return query;
}

policy_query hostile()
{
    policy_query query = ordinary();
    std::string path = "/home/ann/<b>Allow</b>\n\xff\u202egnp.exe/אבג/";
    while (path.size() < 1000)
        path += "very long name ";
    storeText(query.path, path);
    storeText(query.process_name, path);
    storeText(query.parent_name, path);
    storeText(query.reserved2,
        "a\tb\t<h1>Trusted</h1>\r\n\u202eevil and a text that goes on and on, "
        "as far as there is room for it in the record");
    return query;
}

struct State {
    const char* name;
    policy_query query;
    bool simple;
    bool touchBar;
};

TEST(WindowPicturesTest, ShowEveryStateOfThePrompts)
{
    const State states[] = {
        {"advanced", ordinary(), false, false},
        {"advanced-dangerous", dangerous(), false, false},
        {"advanced-hostile", hostile(), false, false},
        {"advanced-touch-bar", ordinary(), false, true},
        {"simple", ordinary(), true, false},
        {"simple-dangerous", dangerous(), true, false},
        {"simple-hostile", hostile(), true, false},
        {"simple-touch-bar", ordinary(), true, true},
    };
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        for (const State& state : states) {
            WindowFixture agent;
            agent.writePreferences({{"access.user.detail", state.simple ? 0 : 2},
                {"ui.prompts.oob", state.touchBar ? 1 : 0}});
            agent.prompts.setColorScheme(scheme);
            PromptDialog& window = agent.present(state.query);
            const std::string name
                = state.name + std::string(scheme == ColorScheme::Dark ? "-dark" : "");
            const QPixmap picture = window.grab();
            EXPECT_TRUE(picture.save(QString::fromStdString(pictureFile(name))));
            EXPECT_LE(window.width(), 1024) << name;
            EXPECT_LE(window.height(), 768) << name;
            // Nothing is cut off on a screen of 1024 pixels at twice the scale.
            EXPECT_LE(window.findChild<QScrollArea*>()->widget()->minimumSizeHint().width(), 470);
            for (const char* button : {"deny", "allow"}) {
                const auto* shown = window.findChild<QWidget*>(button);
                EXPECT_EQ(shown->isVisible(), !state.touchBar) << name;
                EXPECT_TRUE(!shown->isVisible() || window.rect().contains(shown->geometry()))
                    << name;
            }
        }
    }
}

// Null unless one is shown.
QWidget* windowTitled(const char* title)
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->windowTitle() == title)
            return window;
    }
    return nullptr;
}

struct FinishedCounter final : QMFirstRunWindowControllerDelegate {
    std::atomic<int> ended = 0;

    void firstRunHasEnded() override { ++ended; }
};

// What stands beside a prompt: windows of their own.
TEST(WindowPicturesTest, ShowTheStripAnOpenListAndATip)
{
    const auto others = [](const PromptDialog& prompt) {
        std::vector<QWidget*> windows;
        for (QWidget* widget : prompt.findChildren<QWidget*>())
            if (widget->isWindow() && widget->isVisible())
                windows.push_back(widget);
        return windows;
    };
    for (const std::string name : {"strip", "list", "tip"}) {
        WindowFixture agent;
        agent.writePreferences(
            {{"access.user.detail", 2}, {"ui.prompts.oob", name == "strip" ? 1 : 0}});
        PromptDialog& prompt = agent.present(hostile());
        if (name == "list")
            agent.click("paths");
        if (name == "tip") {
            agent.mouse(
                QEvent::MouseMove, *prompt.findChild<TextView*>("file"), {9, 5}, Qt::NoButton, {});
            agent.host.clock.advance(std::chrono::seconds(1));
            agent.settle();
        }
        const auto windows = others(prompt);
        ASSERT_EQ(windows.size(), 1u) << name;
        EXPECT_TRUE(windows[0]->grab().save(QString::fromStdString(pictureFile(name))));
        EXPECT_TRUE(prompt.screen()->availableGeometry().contains(windows[0]->geometry())) << name;
    }
}

TEST(WindowPicturesTest, ShowFirstRunAndAbout)
{
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        const std::string suffix = scheme == ColorScheme::Dark ? "-dark" : "";
        WindowFixture agent;
        ApplicationWindows shown;
        shown.setColorScheme(scheme);
        const WindowContext context{agent.host.clock, agent.host.threads, agent.host.mainThread,
            agent.host.windows, agent.directories, shown};
        const auto ended = std::make_shared<FinishedCounter>();
        const auto firstRun = QMFirstRunWindowController::init(context);
        firstRun->setDelegate(ended);
        firstRun->open();
        for (int second = 1; second <= 60; ++second) {
            ASSERT_TRUE(agent.host.clock.waitForWaiters(1));
            agent.host.clock.advance(std::chrono::seconds(1));
            ASSERT_TRUE(agent.host.mainThread.runUntil(
                [&] { return firstRun->indicatorValue() >= second; }));
        }
        QWidget* window = windowTitled("Vossel");
        ASSERT_TRUE(window);
        EXPECT_EQ(window->findChild<QProgressBar*>()->value(), 60);
        EXPECT_EQ(window->findChild<QProgressBar*>()->maximum(), 240);
        EXPECT_TRUE(window->grab().save(QString::fromStdString(pictureFile("first-run" + suffix))));
        window->findChild<PressButton*>("finish")->click();
        EXPECT_EQ(ended->ended, 1);
        firstRun->close();
        EXPECT_EQ(windowTitled("Vossel"), nullptr);
        agent.host.clock.stop();

        AboutWindowController about(context, "1.2");
        about.open();
        window = windowTitled("About Vossel");
        ASSERT_TRUE(window);
        EXPECT_TRUE(window->grab().save(QString::fromStdString(pictureFile("about" + suffix))));
        window->close();
        agent.settle();
        EXPECT_EQ(windowTitled("About Vossel"), nullptr);
    }
}

}
}
