#include "frontends/lines/line_services.h"

#include "foundation/utf8.h"
#include "frontends/lines/line_output.h"

namespace vossel {

void LineNotifications::deliver(const UserNotification& notification)
{
    Json actions = Json::array();
    if (notification.actionButtonTitle)
        actions.push_back(toValidUtf8(*notification.actionButtonTitle));
    for (const std::string& action : notification.alternateActions)
        actions.push_back(toValidUtf8(action));
    output_.write({{"event", "notification"}, {"title", toValidUtf8(notification.title)},
        {"text", toValidUtf8(notification.informativeText)}, {"actions", std::move(actions)}});
}

void LineNotices::display(const Notice& notice)
{
    output_.write({{"event", "notice"}, {"header", toValidUtf8(notice.header)},
        {"message", toValidUtf8(notice.message)}});
}

}
