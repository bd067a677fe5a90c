#include "hosts/terminal/line_services.h"

#include "foundation/utf8.h"
#include "hosts/terminal/line_output.h"

#include <algorithm>

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

double LineWindows::textWidth(std::string_view text, float fontSize) const
{
    constexpr double widthToHeight = 0.6;
    const auto characters
        = std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    return static_cast<double>(characters) * static_cast<double>(fontSize) * widthToHeight;
}

}
