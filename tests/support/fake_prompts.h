#pragma once

#include "prompting/prompt_interfaces.h"

#include <functional>
#include <string>
#include <vector>

namespace vossel::test {

// Prompts without a window: they remember that they were shown and closed, and report decisions
// with choices that are always the same. Main thread.
template <class Prompt, class Delegate>
class FakePrompt : public Prompt {
public:
    std::vector<std::string> acts;
    std::function<void()> onClose;

    void setPolicyQuery(const policy_query& query) override { query_ = query; }
    void setDelegate(Delegate* delegate) override { delegate_ = delegate; }
    void showWindow() override { acts.emplace_back("show"); }
    void close() override
    {
        acts.emplace_back("close");
        if (onClose)
            onClose();
    }
    [[nodiscard]] bool requireTouchBar() const override { return false; }
    void setAllowButtonHighlight(std::int32_t) override { }

protected:
    policy_query query_{};
    Delegate* delegate_ = nullptr;
};

class FakeAdvancedPrompt final : public FakePrompt<AdvancedPrompt, QMPermissionsWindowDelegate> {
public:
    std::function<void(FakeAdvancedPrompt&)> onShow;

    void showWindow() override
    {
        FakePrompt::showWindow();
        if (onShow)
            onShow(*this);
    }
    void performClickAllow() override
    {
        if (delegate_)
            delegate_->didClickAllowWithSelectedPath("Only /chosen", 2, 3, 16, query_, 77);
    }
    void performClickDeny() override
    {
        if (delegate_)
            delegate_->didClickDenyWithSelectedPath("Only /chosen", 2, 3, 16, query_, 77);
    }
    [[nodiscard]] std::optional<std::string> recommendedPath() const override
    {
        return "In /recommended/";
    }
    void selectSegmentWithTag(std::int32_t) override { }
    void incrementPathSelection() override { }
    void decrementPathSelection() override { }
    void incrementProcessSelection() override { }
    void decrementProcessSelection() override { }
};

class FakeSimplePrompt final : public FakePrompt<SimplePrompt, QMSimplePermissionsWindowDelegate> {
public:
    void performClickAllow() override
    {
        if (delegate_)
            delegate_->didClickAllowWithQuery(query_, DURATION_UNTIL_QUIT);
    }
    void performClickDeny() override
    {
        if (delegate_)
            delegate_->didClickDenyWithQuery(query_, DURATION_UNTIL_QUIT);
    }
    [[nodiscard]] std::int32_t selectedDuration() const override { return DURATION_UNTIL_QUIT; }
    void clickedUntilQuit() override { }
    void clickedUntilRestart() override { }
    void clickedForever() override { }
};

class FakePromptFactory final : public PromptFactory {
public:
    std::vector<std::shared_ptr<FakeAdvancedPrompt>> advanced;
    std::vector<std::shared_ptr<FakeSimplePrompt>> simple;
    std::function<void(FakeAdvancedPrompt&)> onShow;

    [[nodiscard]] std::shared_ptr<AdvancedPrompt> makePermissionsWindow() override
    {
        advanced.push_back(std::make_shared<FakeAdvancedPrompt>());
        advanced.back()->onShow = onShow;
        return advanced.back();
    }
    [[nodiscard]] std::shared_ptr<SimplePrompt> makeSimplePermissionsWindow() override
    {
        return simple.emplace_back(std::make_shared<FakeSimplePrompt>());
    }
};

}
