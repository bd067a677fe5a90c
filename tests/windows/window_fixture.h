#pragma once

#include "frontends/windows/window_prompt_presenter.h"
#include "platform/input_origins.h"
#include "support/agent_fixture.h"
#include "support/queries.h"
#include "ui/prompt/prompt_view_model_factory.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPushButton>
#include <QWindow>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

namespace vossel::test {

// A read of a document by a signed program that a shell has started.
[[nodiscard]] inline policy_query documentQuery(std::string_view program)
{
    policy_query query = makeQuery("/home/ann/Documents/taxes/return.pdf");
    query.ppid = 4200;
    storeText(query.process_name, program);
    storeText(query.parent_name, "/usr/bin/shell");
    storeText(query.cs_info.teamid, "Debian");
    storeText(query.reserved2, "a\tb\tDebian");
    return query;
}

// Time stands until it is moved; the next press comes from `source`.
struct ScriptedOrigins final : InputOrigins {
    EventSource source{};
    Time time = 1'000'000;
    std::vector<Press> asked;

    EventSource sourceOf(const Press& press) override
    {
        asked.push_back(press);
        return source;
    }
    Time now() override { return time; }
};

// The agent's broker with its prompts as real windows on a screen in memory. Advanced ones unless
// the preferences are written anew.
struct WindowFixture : AgentFixture {
    ScriptedOrigins origins;
    WindowPromptPresenter prompts{
        {host.clock, host.timers, origins, InputGuard::EventTimes::OfWindowSystem,
            [this](const ImageSource& source, int) {
                images.push_back(source);
                const QImage picture(":/images/program.png");
                EXPECT_FALSE(picture.isNull()) << "the program came without its pictures";
                return picture;
            },
            [this] { host.alertSound.play(); }}};
    PromptViewModelFactory windows{{host.host, directories, broker, prompts}};
    std::shared_ptr<QueryWait> wait; // for the answer to the last query
    std::vector<ImageSource> images;

    WindowFixture()
    {
        broker.setPromptFactory(&windows);
        chooseAdvancedPrompts();
    }

    // Shown and painted, and long enough for a person to have seen it.
    PromptDialog& present(const policy_query& query)
    {
        presentUnseen(query);
        origins.time += 400;
        return *prompts.window();
    }
    PromptDialog& presentUnseen(const policy_query& query)
    {
        wait = std::make_shared<QueryWait>(host.clock.now() + std::chrono::seconds(60));
        broker.presentQueryToUser(query, wait);
        settle();
        return *prompts.window();
    }
    // Everything that was put off is done.
    void settle()
    {
        host.timers.fireDue();
        host.mainThread.runPending();
        for (int i = 0; i < 4; ++i)
            QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // As the window system delivers them.
    void press(int key, Qt::KeyboardModifiers modifiers = {}, bool repeated = false)
    {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, 36, 0, 0, QString(), repeated);
        event.setTimestamp(origins.time);
        QApplication::sendEvent(prompts.window()->windowHandle(), &event);
        settle();
    }
    void release(int key)
    {
        QKeyEvent event(QEvent::KeyRelease, key, {}, 36, 0, 0);
        event.setTimestamp(origins.time);
        QApplication::sendEvent(prompts.window()->windowHandle(), &event);
        settle();
    }
    void click(const QString& name)
    {
        QWidget* button = prompts.window()->findChild<QWidget*>(name);
        ASSERT_TRUE(button && button->isVisible()) << name.toStdString();
        click(*button);
    }
    void click(QWidget& widget)
    {
        mouse(QEvent::MouseButtonPress, widget, widget.rect().center());
        mouse(QEvent::MouseButtonRelease, widget, widget.rect().center());
    }
    void mouse(QEvent::Type type, QWidget& widget, QPoint at,
        Qt::MouseButton button = Qt::LeftButton, Qt::MouseButtons buttons = Qt::LeftButton)
    {
        QWidget* window = widget.window();
        if (type == QEvent::MouseButtonRelease)
            buttons &= ~Qt::MouseButtons(button);
        QMouseEvent event(type, widget.mapTo(window, at), widget.mapToGlobal(at), button, buttons,
            Qt::NoModifier);
        event.setTimestamp(origins.time);
        QApplication::sendEvent(window->windowHandle(), &event);
        settle();
    }
    [[nodiscard]] int sounds() const { return host.alertSound.played.get(); }
};

// Where every test leaves its pictures.
[[nodiscard]] inline std::string pictureFile(const std::string& name)
{
    const char* folder = std::getenv("VOSSEL_PICTURES");
    const std::filesystem::path pictures = folder ? folder : "pictures";
    std::filesystem::create_directories(pictures);
    return pictures / (name + ".png");
}

}
