#pragma once

#include "prompting/prompt_interfaces.h"

#include <functional>
#include <string>
#include <vector>

namespace vossel::test {

// Both prompts without a window: they remember what was asked of them and report what the test
// has them report. Main thread.
class FakeAdvancedPrompt final : public AdvancedPrompt {
public:
    policy_query query{};
    QMPermissionsWindowDelegate* delegate = nullptr;
    std::optional<std::string> recommended = "In /recommended/";
    std::vector<std::string> acts;
    std::function<void(FakeAdvancedPrompt&)> onShow;
    std::function<void()> onClose;

    void setPolicyQuery(const policy_query& received) override { query = received; }
    void setDelegate(QMPermissionsWindowDelegate* to) override { delegate = to; }
    void showWindow() override
    {
        acts.emplace_back("show");
        if (onShow)
            onShow(*this);
    }
    void close() override
    {
        acts.emplace_back("close");
        if (onClose)
            onClose();
    }
    [[nodiscard]] bool requireTouchBar() const override { return true; }
    void setAllowButtonHighlight(std::int32_t h) override { note("highlight", h); }
    void performClickAllow() override { report(DECISION_ALLOW); }
    void performClickDeny() override { report(DECISION_DENY); }
    [[nodiscard]] std::optional<std::string> recommendedPath() const override
    {
        return recommended;
    }
    void selectSegmentWithTag(std::int32_t tag) override { note("segment", tag); }
    void incrementPathSelection() override { acts.emplace_back("path+"); }
    void decrementPathSelection() override { acts.emplace_back("path-"); }
    void incrementProcessSelection() override { acts.emplace_back("process+"); }
    void decrementProcessSelection() override { acts.emplace_back("process-"); }

    void report(std::int32_t decision, std::optional<std::string> path = "Only /chosen")
    {
        if (!delegate)
            return;
        if (decision == DECISION_ALLOW)
            delegate->didClickAllowWithSelectedPath(path, 2, 3, 16, query, 77);
        else
            delegate->didClickDenyWithSelectedPath(path, 2, 3, 16, query, 77);
    }

private:
    void note(const char* what, std::int32_t value)
    {
        acts.push_back(std::string(what) + " " + std::to_string(value));
    }
};

class FakeSimplePrompt final : public SimplePrompt {
public:
    policy_query query{};
    QMSimplePermissionsWindowDelegate* delegate = nullptr;
    std::int32_t duration = 1;
    std::vector<std::string> acts;

    void setPolicyQuery(const policy_query& received) override { query = received; }
    void setDelegate(QMSimplePermissionsWindowDelegate* to) override { delegate = to; }
    void showWindow() override { acts.emplace_back("show"); }
    void close() override { acts.emplace_back("close"); }
    [[nodiscard]] bool requireTouchBar() const override { return false; }
    void setAllowButtonHighlight(std::int32_t) override { acts.emplace_back("highlight"); }
    void performClickAllow() override
    {
        if (delegate)
            delegate->didClickAllowWithQuery(query, duration);
    }
    void performClickDeny() override
    {
        if (delegate)
            delegate->didClickDenyWithQuery(query, duration);
    }
    [[nodiscard]] std::int32_t selectedDuration() const override { return duration; }
    void clickedUntilQuit() override { acts.emplace_back("until quit"); }
    void clickedUntilRestart() override { acts.emplace_back("until restart"); }
    void clickedForever() override { acts.emplace_back("forever"); }
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
        simple.push_back(std::make_shared<FakeSimplePrompt>());
        return simple.back();
    }
};

}
