#include "ui/prompt/prompt_windows.h"

#include "ui/prompt/qm_permissions_window.h"
#include "ui/prompt/qm_simple_permissions_window.h"

namespace vossel {

std::shared_ptr<AdvancedPrompt> PromptWindows::makePermissionsWindow()
{
    return std::make_shared<QMPermissionsWindow>(context_);
}

std::shared_ptr<SimplePrompt> PromptWindows::makeSimplePermissionsWindow()
{
    return std::make_shared<QMSimplePermissionsWindow>(context_);
}

}
