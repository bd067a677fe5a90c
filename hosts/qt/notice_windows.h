#pragma once

#include "hosts/qt/prompt_theme.h"
#include "platform/notifications.h"
#include "platform/threads.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

class QWidget;

namespace vossel {

// Notices as small windows in a corner of the screen: they take no focus, so that nothing typed for
// another program dismisses one. Calls come from any thread; everything else is done on the main
// thread.
class NoticeWindows final : public Notices {
public:
    explicit NoticeWindows(MainThread& mainThread)
        : mainThread_(mainThread)
    {
    }
    ~NoticeWindows() override;

    void display(const Notice& notice) override;
    // On the main thread the event loop goes on meanwhile.
    void displayAndWait(const Notice& notice) override;

    // Main thread. Of the notices to come.
    void setColorScheme(ColorScheme scheme) { theme_ = PromptTheme(scheme); }
    // Main thread: nothing is shown any more, and whoever waits goes on.
    void closeAll();

private:
    using Text = std::pair<std::string, std::string>;
    struct Shown {
        QWidget* window = nullptr;
        std::vector<std::function<void()>> dismissed;
    };

    void show(const Notice& notice, std::function<void()> dismissed);
    void close(const Text& text);

    MainThread& mainThread_;
    // The main thread's.
    PromptTheme theme_{ColorScheme::Light};
    std::map<Text, Shown> shown_; // what is said twice stands once
};

}
