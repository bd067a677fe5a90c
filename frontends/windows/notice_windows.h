#pragma once

#include "frontends/windows/prompt_theme.h"
#include "platform/notifications.h"
#include "platform/threads.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

class QWidget;

namespace vossel {

// Notices as small windows in a corner of the screen: they take no focus, so that nothing typed for
// another program dismisses one. Of many that nobody waits for the latest few stand. Calls come
// from any thread; everything else is done on the main thread.
class NoticeWindows final : public Notices {
public:
    // `shown` is called when one has come to stand above everything.
    NoticeWindows(MainThread& mainThread, std::function<void()> shown)
        : mainThread_(mainThread)
        , shownOne_(std::move(shown))
    {
    }
    ~NoticeWindows() override;

    void display(const Notice& notice) override;
    // Called on the main thread, it keeps the event loop going meanwhile.
    void displayAndWait(const Notice& notice) override;

    // Main thread. The notices that are shown from now on have these colours.
    void setColorScheme(ColorScheme scheme) { theme_ = PromptTheme(scheme); }
    // Main thread. Takes all notices away; whoever waits for one goes on.
    void closeAll();

private:
    struct Shown {
        unsigned number = 0; // they are numbered as they come
        std::pair<std::string, std::string> text;
        QWidget* window = nullptr;
        std::function<void()> dismissed; // of whoever waits for it
    };

    void show(const Notice& notice, std::function<void()> dismissed);
    void makeRoom();
    void place();
    void close(unsigned number);

    MainThread& mainThread_;
    const std::function<void()> shownOne_;
    // The main thread's.
    PromptTheme theme_{ColorScheme::Light};
    std::vector<Shown> shown_; // what is said twice stands once
    unsigned lastNumber_ = 0;
};

}
