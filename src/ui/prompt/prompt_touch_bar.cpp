#include "ui/prompt/prompt_touch_bar.h"

#include "foundation/log.h"

#include <utility>

namespace vossel {

namespace {

constexpr double decisionImageSize = 22; // points, both ways

TouchBarButton decisionButton(
    std::string title, std::string image, BezelColor colour, std::function<void()> action)
{
    return {std::move(title), std::move(image), decisionImageSize, decisionImageSize, colour,
        std::move(action)};
}

}

const TouchBar& PromptTouchBar::touchBar()
{
    logText("touchBar");
    if (!bar_)
        logText("touchBar creating touch bar");
    return makeTouchBar();
}

const TouchBar& PromptTouchBar::makeTouchBar()
{
    logText("makeTouchBar");
    if (!bar_) {
        Parts made = parts_();
        items_ = std::move(made.items);
        bar_ = TouchBar{".touchBar", made.identifiers, made.identifiers, ".allow"};
    }
    return *bar_;
}

TouchBarItem PromptTouchBar::makeItemForIdentifier(std::string_view identifier) const
{
    for (const TouchBarItem& item : items_) {
        if (item.identifier == identifier)
            return item;
    }
    return {std::string(identifier), std::nullopt};
}

std::vector<TouchBarItem> decisionItems(std::function<void()> deny, std::function<void()> allow)
{
    return {
        {".deny", decisionButton("Deny Access", "red.png", BezelColor::SystemRed, std::move(deny))},
        {".allow",
            decisionButton("Allow Access", "green.png", BezelColor::SystemGreen, std::move(allow))},
    };
}

}
