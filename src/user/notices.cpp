#include "user/notices.h"

#include "foundation/path_text.h"
#include "foundation/text_format.h"
#include "foundation/utf8.h"
#include "platform/input_origins.h"
#include "platform/notifications.h"
#include "platform/processes.h"

#include <string>

namespace vossel {

void UserNotices::displayNotice(std::string_view header, std::string_view message) const
{
    services_.notices.display({.header = fromMacRoman(header),
        .message = fromMacRoman(message),
        .icon = directories_.lockImage(),
        .timeoutSeconds = 60});
}

void UserNotices::sendIgnoredNotificationForPid(std::int32_t pid, std::string_view type) const
{
    UserNotification notification;
    notification.title = formatText("Ignoring %@", {type});
    if (pid == unnamedProgram.processId) {
        notification.informativeText = formatText(
            "Ignored software-composed %@ from a program that nobody can name", {type});
    } else {
        const std::string path
            = services_.processes.executablePath(static_cast<std::uint32_t>(pid));
        const std::string name
            = path.empty() ? "unknown program" : toValidUtf8(lastPathComponent(path));
        notification.informativeText = formatText(
            "Ignored software-composed %@ from %@ (%@)", {type, name, std::to_string(pid)});
    }
    services_.notifications.deliver(notification);
}

}
