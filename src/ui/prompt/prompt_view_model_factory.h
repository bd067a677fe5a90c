#pragma once

#include "prompting/prompt_interfaces.h"
#include "ui/prompt/prompt_context.h"

namespace vossel {

// Makes the prompts that the broker opens.
class PromptViewModelFactory final : public PromptFactory {
public:
    explicit PromptViewModelFactory(const PromptContext& context)
        : context_(context)
    {
    }

    [[nodiscard]] std::shared_ptr<AdvancedPrompt> makePermissionsWindow() override;
    [[nodiscard]] std::shared_ptr<SimplePrompt> makeSimplePermissionsWindow() override;

private:
    PromptContext context_;
};

}
