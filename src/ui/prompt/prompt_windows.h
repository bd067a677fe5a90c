#pragma once

#include "prompting/prompt_windows.h"
#include "ui/prompt/prompt_context.h"

namespace vossel {

// Makes the prompts that the broker opens.
class PromptWindows final : public PromptFactory {
public:
    explicit PromptWindows(const PromptContext& context)
        : context_(context)
    {
    }

    [[nodiscard]] std::shared_ptr<AdvancedPrompt> makePermissionsWindow() override;
    [[nodiscard]] std::shared_ptr<SimplePrompt> makeSimplePermissionsWindow() override;

private:
    PromptContext context_;
};

}
