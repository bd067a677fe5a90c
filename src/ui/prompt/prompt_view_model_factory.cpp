#include "ui/prompt/prompt_view_model_factory.h"

#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel {

std::shared_ptr<AdvancedPrompt> PromptViewModelFactory::makePermissionsWindow()
{
    return std::make_shared<QMPermissionsWindow>(context_);
}

std::shared_ptr<SimplePrompt> PromptViewModelFactory::makeSimplePermissionsWindow()
{
    return std::make_shared<QMSimplePermissionsWindow>(context_);
}

}
