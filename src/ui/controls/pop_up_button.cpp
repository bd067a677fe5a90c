#include "ui/controls/pop_up_button.h"

#include "platform/window_system.h"

#include <algorithm>

namespace vossel {

namespace {

// Points that the arrow and the margins take beside the title.
constexpr double arrowAndMargins = 35;

}

std::string PopUpButton::titleOfSelectedItem() const
{
    return selectedIndex() < 0 ? std::string()
                               : items()[static_cast<std::size_t>(selectedIndex())].title;
}

std::int32_t PopUpButton::selectedTag() const
{
    return selectedIndex() < 0 ? -1 : items()[static_cast<std::size_t>(selectedIndex())].tag;
}

std::optional<std::int64_t> PopUpButton::indexOfItemWithTag(std::int32_t tag) const
{
    const auto found = std::find_if(
        items().begin(), items().end(), [tag](const PopUpItem& item) { return item.tag == tag; });
    if (found == items().end())
        return std::nullopt;
    return found - items().begin();
}

void PopUpButton::addItem(std::string title, std::int32_t tag)
{
    editable().items.push_back({std::move(title), tag});
    changed();
}

void PopUpButton::addItemsWithTitles(const std::vector<std::string>& titles)
{
    if (titles.empty())
        return;
    for (const std::string& title : titles)
        editable().items.push_back({title, 0});
    changed();
}

bool PopUpButton::selectItemAtIndex(std::int64_t index)
{
    if (index < -1 || index >= numberOfItems())
        return false;
    set(&PopUpButtonState::selectedIndex, index);
    return true;
}

void PopUpButton::sizeToFit(const WindowSystem& windows)
{
    Rect fitted = frame();
    fitted.width = windows.textWidth(title(), state().fontSize) + arrowAndMargins;
    setFrame(fitted);
}

}
