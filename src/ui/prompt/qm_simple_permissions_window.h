#pragma once

#include "prompting/prompt_interfaces.h"
#include "ui/prompt/prompt_frame.h"
#include "ui/prompt/prompt_touch_bar.h"
#include "ui/prompt/shown_prompt.h"
#include "ui/prompt/simple_permissions_controls.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vossel {

// The simple prompt: one sentence, Allow or Deny, three durations; it covers more than the query
// itself, mostly the folder inside the home folder. Main thread only. Lifetime and clicks after
// close() as for the advanced prompt.
class QMSimplePermissionsWindow final
    : public SimplePrompt,
      public ShownPrompt,
      public std::enable_shared_from_this<QMSimplePermissionsWindow> {
public:
    explicit QMSimplePermissionsWindow(const PromptContext& context);

    // Widens the path of the working copy; the query as received is kept for the advanced display.
    void setPolicyQuery(const policy_query& query) override;
    void setDelegate(QMSimplePermissionsWindowDelegate* delegate) override { delegate_ = delegate; }
    void showWindow() override;
    void close() override;

    // What whoever shows it reads and does.
    [[nodiscard]] PromptView view() const override;
    [[nodiscard]] Refusal carryOut(const PromptAct& act) override;

    void clickedAllow();
    void clickedDeny();
    void clickedAdvanced();
    void clickedUntilQuit() override;
    void clickedUntilRestart() override;
    // Nothing happens while the choice is hidden or the user may not make rules.
    void clickedForever() override;

    [[nodiscard]] bool requireTouchBar() const override { return frame_.requireTouchBar; }
    void setAllowButtonHighlight(std::int32_t highlight) override;
    void performClickAllow() override { clickedAllow(); }
    void performClickDeny() override { clickedDeny(); }
    [[nodiscard]] std::int32_t selectedDuration() const override { return selectedTag_ + 1; }

    // Made when first asked for; its actions are safe to call after the prompt has gone.
    const TouchBar& touchBar() override { return touchBar_.touchBar(); }
    const TouchBar& makeTouchBar() { return touchBar_.makeTouchBar(); }
    [[nodiscard]] TouchBarItem makeItemForIdentifier(std::string_view identifier) const override
    {
        return touchBar_.makeItemForIdentifier(identifier);
    }

    // What a person sees, and what is handed over.
    [[nodiscard]] const SimplePermissionsControls& controls() const { return controls_; }
    [[nodiscard]] const PromptFrame& frame() const { return frame_; }
    [[nodiscard]] const policy_query& policyQuery() const { return query_; }
    [[nodiscard]] std::int32_t alertType() const { return alertType_; }
    [[nodiscard]] std::int32_t codeSignState() const { return codeSignState_; }

private:
    [[nodiscard]] const PromptFrame& promptFrame() const override { return frame_; }
    void windowDidLoad();
    void choose(const Button& chosen);
    [[nodiscard]] PromptTouchBar::Parts initTouchBarItems();

    const PromptContext context_;
    QMSimplePermissionsWindowDelegate* delegate_ = nullptr;
    PromptFrame frame_;
    SimplePermissionsControls controls_;
    PromptTouchBar touchBar_{[this] { return initTouchBarItems(); }};

    std::string applicationText_;
    std::string parentText_;
    std::int32_t selectedTag_ = 0;
    policy_query query_{}; // the working copy
    policy_query originalQuery_{};
    std::int32_t alertType_ = 0;
    std::int32_t codeSignState_ = 0;
    bool loaded_ = false;
};

}
