#pragma once

#include "ui/controls/image_view.h"
#include "ui/controls/text_field.h"
#include "ui/prompt/prompt_changes.h"
#include "ui/prompt/prompt_context.h"
#include "ui/prompt/prompt_countdown.h"
#include "ui/prompt/prompt_view.h"
#include "ui/prompt/qm_borderless_panel.h"
#include "ui/prompt/qm_button.h"
#include "wire/driver_messages.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace vossel {

class QueryWait;

// What both prompts have in common: the window and how it keeps and gives up the screen, Allow and
// Deny, the preferences on how to answer, the proof of being an administrator. Main thread only.
class PromptFrame {
public:
    PromptFrame(const PromptContext& context, const Rect& windowFrame);

    QMBorderlessPanel window;
    QMButton allowButton;
    QMButton denyButton;
    TextField touchBarLabel; // says that the answer is given on the touch bar
    ImageView applicationIconImageView;
    bool requireTouchBar = false;
    bool authenticationDenied = false;
    PromptChanges changes;

    // Whether the prompt stands on the screen: from open() to close().
    [[nodiscard]] bool isOpen() const { return phase_ == Phase::Open; }
    void open(std::function<void()> tell);
    // Gives the screen back. Returns false unless the prompt was open.
    bool close();

    // The wait that this prompt answers; null before open().
    [[nodiscard]] const std::shared_ptr<QueryWait>& wait() const { return wait_; }
    [[nodiscard]] PromptCountdown countdown() const;
    // What both prompts show alike.
    [[nodiscard]] PromptView view() const;

    // Steps of loading.
    void readPreferences();
    // `program`: the path of who is asking.
    void showIcon(std::int32_t codeSignState, std::string_view program);
    void resetButtons();
    void highlightAllowWhileCommandHeld() const;
    void setUpWindow();
    void setTheme();
    // Whether Forever is left out: for users who may not make rules, and for files that protect
    // the rules.
    [[nodiscard]] bool foreverRemoved(std::string_view path) const;

    void setAllowButtonHighlight(std::int32_t highlight);
    // Returns the window to ordinary behaviour.
    void resignWindow();
    void closeWindow();
    // Whether Allow may go on; asks for an administrator where the preferences want one, which may
    // take any time. The prompt may have been closed when it returns.
    [[nodiscard]] bool authenticate();
    [[nodiscard]] bool authenticating() const { return authenticating_; }

    // Reports the control's changes through `changes`.
    template <class Observed>
    void observe(Observed& control)
    {
        control.setObserver([this] { changes.changed(); });
    }

private:
    enum class Phase { New, Open, Closed };

    PromptContext context_;
    Phase phase_ = Phase::New;
    std::shared_ptr<QueryWait> wait_;
    bool requireAuthentication_ = false;
    bool authenticating_ = false;
};

// Cuts the path of any packet-capture device to "/dev/bpf", which stands for all of them. Every
// other path stays, and the result is false.
bool cutPacketCapturePath(policy_query& query);

}
