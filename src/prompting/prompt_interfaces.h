#pragma once

#include "wire/driver_messages.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

// What the broker and the windows of the two prompts know of each other. Main thread only.

namespace vossel {

// What an advanced prompt reports. The query is the prompt's own edited copy, valid during the
// call. An empty optional path stands for "no path chosen".
class QMPermissionsWindowDelegate {
public:
    virtual ~QMPermissionsWindowDelegate() = default;

    virtual void didClickAllowWithSelectedPath(const std::optional<std::string>& selectedPath,
        std::int64_t selectedDuration, std::int32_t selectedProcessType, std::int32_t operations,
        const policy_query& query, std::uint32_t pid)
        = 0;
    virtual void didClickDenyWithSelectedPath(const std::optional<std::string>& selectedPath,
        std::int64_t selectedDuration, std::int32_t selectedProcessType, std::int32_t operations,
        const policy_query& query, std::uint32_t pid)
        = 0;
};

// What a simple prompt reports. The query is the prompt's working copy, for the advanced display
// the query as it was received; valid during the call.
class QMSimplePermissionsWindowDelegate {
public:
    virtual ~QMSimplePermissionsWindowDelegate() = default;

    virtual void didClickAllowWithQuery(const policy_query& query, std::int64_t forDuration) = 0;
    virtual void didClickDenyWithQuery(const policy_query& query, std::int64_t forDuration) = 0;
    virtual void didRequestAdvancedDisplayForQuery(const policy_query& query) = 0;
};

// What both prompts offer the broker. The query and the delegate come before showWindow(), which
// loads the prompt; close() gives everything on the screen back.
class PromptWindow {
public:
    virtual ~PromptWindow() = default;

    virtual void setPolicyQuery(const policy_query& query) = 0;
    virtual void showWindow() = 0;
    virtual void close() = 0;

    [[nodiscard]] virtual bool requireTouchBar() const = 0;
    virtual void setAllowButtonHighlight(std::int32_t highlight) = 0;
    virtual void performClickAllow() = 0;
    virtual void performClickDeny() = 0;
};

class AdvancedPrompt : public PromptWindow {
public:
    virtual void setDelegate(QMPermissionsWindowDelegate* delegate) = 0;
    // Empty for an empty list of paths.
    [[nodiscard]] virtual std::optional<std::string> recommendedPath() const = 0;
    virtual void selectSegmentWithTag(std::int32_t tag) = 0;
    virtual void incrementPathSelection() = 0;
    virtual void decrementPathSelection() = 0;
    virtual void incrementProcessSelection() = 0;
    virtual void decrementProcessSelection() = 0;
};

class SimplePrompt : public PromptWindow {
public:
    virtual void setDelegate(QMSimplePermissionsWindowDelegate* delegate) = 0;
    [[nodiscard]] virtual std::int32_t selectedDuration() const = 0;
    virtual void clickedUntilQuit() = 0;
    virtual void clickedUntilRestart() = 0;
    virtual void clickedForever() = 0;
};

// Makes a prompt afresh for each query. Shared, because an authentication dialog may stand on the
// stack of a prompt that the broker has already dropped.
class PromptFactory {
public:
    virtual ~PromptFactory() = default;

    [[nodiscard]] virtual std::shared_ptr<AdvancedPrompt> makePermissionsWindow() = 0;
    [[nodiscard]] virtual std::shared_ptr<SimplePrompt> makeSimplePermissionsWindow() = 0;
};

}
