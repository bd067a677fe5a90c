#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// A strip of buttons beside the keyboard, or what a desktop shows in its place. These are plain
// values, which do not change once they are made.

namespace vossel {

enum class BezelColor : std::uint8_t { Default, SystemRed, SystemGreen };

struct TouchBarButton {
    std::string title{};
    std::string imageName{}; // of a resource, shown left of the title; empty for none
    double imageWidth = 0; // points
    double imageHeight = 0;
    BezelColor bezelColor = BezelColor::Default;
    std::function<void()> action{}; // safe to call after the prompt has gone
};

struct TouchBarItem {
    std::string identifier;
    std::optional<TouchBarButton> view{};
};

struct TouchBar {
    std::string customizationIdentifier;
    std::vector<std::string> defaultItemIdentifiers;
    std::vector<std::string> customizationAllowedItemIdentifiers;
    std::string principalItemIdentifier;

    bool operator==(const TouchBar&) const = default;
};

}
