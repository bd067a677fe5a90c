#pragma once

#include "prompting/prompt_interfaces.h"
#include "ui/prompt/permissions_controls.h"
#include "ui/prompt/prompt_frame.h"
#include "ui/prompt/prompt_touch_bar.h"
#include "ui/prompt/shown_prompt.h"
#include "ui/prompt/tool_tip.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vossel {

// The advanced prompt: shows one query in detail and lets the user shape the answer by path,
// process, operations, duration and updates. Main thread only. The broker owns it and drops it from
// within a click; a click therefore keeps it alive to its end, and a click that comes or ends after
// close() decides nothing.
class QMPermissionsWindow final : public AdvancedPrompt,
                                  public ShownPrompt,
                                  public std::enable_shared_from_this<QMPermissionsWindow> {
public:
    explicit QMPermissionsWindow(const PromptContext& context);

    void setPolicyQuery(const policy_query& query) override { query_ = query; }
    void setDelegate(QMPermissionsWindowDelegate* delegate) override { delegate_ = delegate; }
    void showWindow() override;
    void close() override;

    // Clicks on the controls. They return false, and change nothing, where the control is disabled
    // or hidden or has no such entry.
    void clickedAllow();
    void clickedDeny();
    void clickedOperations();
    bool selectPath(std::int64_t index);
    bool selectedProcessItem(std::int64_t index);
    bool setAllowUpdates(bool checked);

    // What whoever shows it reads and does.
    [[nodiscard]] PromptView view() const override;
    [[nodiscard]] Refusal carryOut(const PromptAct& act) override;
    void mouseMoved(Point inWindow) override { tip_.mouseMoved(inWindow); }
    void moveWindow(const Rect& onScreen) override;
    void moveField(Field field, const Rect& inWindow) override;

    // What the broker forwards.
    [[nodiscard]] bool requireTouchBar() const override { return frame_.requireTouchBar; }
    void setAllowButtonHighlight(std::int32_t highlight) override;
    void performClickAllow() override { clickedAllow(); }
    void performClickDeny() override { clickedDeny(); }
    void selectSegmentWithTag(std::int32_t tag) override;
    void incrementPathSelection() override;
    void decrementPathSelection() override;
    void incrementProcessSelection() override;
    void decrementProcessSelection() override;
    [[nodiscard]] std::optional<std::string> recommendedPath() const override;

    // Made when first asked for; its actions are safe to call after the prompt has gone.
    const TouchBar& touchBar() override { return touchBar_.touchBar(); }
    const TouchBar& makeTouchBar() { return touchBar_.makeTouchBar(); }
    [[nodiscard]] TouchBarItem makeItemForIdentifier(std::string_view identifier) const override
    {
        return touchBar_.makeItemForIdentifier(identifier);
    }

    // What a person sees, and what is handed over.
    [[nodiscard]] const PermissionsControls& controls() const { return controls_; }
    [[nodiscard]] const PromptFrame& frame() const { return frame_; }
    [[nodiscard]] const policy_query& policyQuery() const { return query_; }
    [[nodiscard]] const std::vector<std::string>& pathArray() const { return pathArray_; }
    [[nodiscard]] std::int64_t recommendedIndex() const { return recommendedIndex_; }
    [[nodiscard]] std::int32_t alertType() const { return alertType_; }
    [[nodiscard]] std::int32_t codeSignState() const { return codeSignState_; }
    // Maps the index of an ancestor's process entry to the path of its executable.
    [[nodiscard]] const std::map<std::int64_t, std::string>& ancestors() const
    {
        return ancestors_;
    }
    [[nodiscard]] std::uint32_t installerPID() const { return installerPID_; }
    [[nodiscard]] std::int32_t getOperations() const;

private:
    [[nodiscard]] const PromptFrame& promptFrame() const override { return frame_; }
    using Report = decltype(&QMPermissionsWindowDelegate::didClickDenyWithSelectedPath);

    void windowDidLoad();
    void readQuery();
    void loadUpdatesAndIcon();
    void loadProcesses();
    void limitPathChoice();
    void loadFields();
    void preferReadOnlyImage();
    void loadPaths();
    void recogniseInstaller();
    void fitProcessPopUp();
    void selectProcess(std::int64_t index);
    [[nodiscard]] bool isOnReadOnlyImage() const;

    void stepPath(std::int64_t step);
    void stepProcess(std::int64_t step);
    void takeConstraint();
    void handOver(Report report, std::int64_t duration);
    [[nodiscard]] PromptTouchBar::Parts initTouchBarItems();

    const PromptContext context_;
    QMPermissionsWindowDelegate* delegate_ = nullptr;
    PromptFrame frame_;
    PermissionsControls controls_;
    ToolTip tip_;
    PromptTouchBar touchBar_{[this] { return initTouchBarItems(); }};

    policy_query query_{};
    std::string displayName_;
    std::int64_t recommendedIndex_ = -1;
    std::vector<std::string> pathArray_;
    std::int32_t alertType_ = 0;
    std::int32_t codeSignState_ = 0;
    std::map<std::int64_t, std::string> ancestors_;
    bool isInstaller_ = false;
    std::uint32_t installerPID_ = 0;
    bool loaded_ = false;

    std::int64_t processIndex_ = 0; // the process entry that was chosen at first

    // One step of loading leaves these for a later one.
    std::string codeSignText_;
    std::string activityDescription_;
};

}
