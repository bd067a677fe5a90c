#pragma once

#include "ui/controls/control.h"
#include "ui/controls/geometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vossel {

class WindowSystem;

struct PopUpItem {
    std::string title; // bytes; whoever shows them makes them valid UTF-8
    std::int32_t tag = 0;

    bool operator==(const PopUpItem&) const = default;
};

struct PopUpButtonState {
    std::vector<PopUpItem> items{};
    std::int64_t selectedIndex = -1; // -1: none
    bool enabled = true;
    // A pull-down shows its title and never item 0; a pop-up shows the selected item.
    bool pullsDown = false;
    std::string title{};
    float fontSize = 13;
    Rect frame{};

    bool operator==(const PopUpButtonState&) const = default;
};

// A list of which one entry is chosen. Adding items selects none; equal titles may stand together.
class PopUpButton : public Control<PopUpButtonState> {
public:
    using Control::Control;

    [[nodiscard]] const std::vector<PopUpItem>& items() const { return state().items; }
    [[nodiscard]] std::int64_t numberOfItems() const
    {
        return static_cast<std::int64_t>(items().size());
    }
    [[nodiscard]] std::int64_t selectedIndex() const { return state().selectedIndex; }
    [[nodiscard]] bool enabled() const { return state().enabled; }
    [[nodiscard]] bool pullsDown() const { return state().pullsDown; }
    [[nodiscard]] const std::string& title() const { return state().title; }
    [[nodiscard]] const Rect& frame() const { return state().frame; }

    // The title is empty, and the tag -1, while nothing is selected.
    [[nodiscard]] std::string titleOfSelectedItem() const;
    [[nodiscard]] std::int32_t selectedTag() const;
    // The first item with this tag.
    [[nodiscard]] std::optional<std::int64_t> indexOfItemWithTag(std::int32_t tag) const;

    void addItem(std::string title, std::int32_t tag = 0);
    void addItemsWithTitles(const std::vector<std::string>& titles);
    // -1 selects none. Any other index without an item changes nothing and returns false.
    bool selectItemAtIndex(std::int64_t index);
    void setEnabled(bool enabled) { set(&PopUpButtonState::enabled, enabled); }
    void setTitle(std::string title) { set(&PopUpButtonState::title, std::move(title)); }
    void setFrame(const Rect& frame) { set(&PopUpButtonState::frame, frame); }
    // The frame takes the width that the title and the button's arrow need.
    void sizeToFit(const WindowSystem& windows);
};

}
