#include "ui/prompt/synthetic_input.h"

#include "platform/accounts.h"
#include "settings/preferences.h"
#include "user/notices.h"

namespace vossel {

namespace {

constexpr std::string_view inputDevicesAccount = "_hidd";

}

bool refusesSyntheticInput(
    const PromptContext& context, const EventSource& source, std::string_view type)
{
    if (source.processId == 0 || source.userId == 0)
        return false;
    if (context.services.accounts.userIdOf(inputDevicesAccount) == source.userId)
        return false;
    if (valueForPreference(context.directories, preference::promptsRemote) == 1)
        return false;
    UserNotices(context.services.notices, context.directories)
        .sendIgnoredNotificationForPid(source.processId, type);
    return true;
}

}
