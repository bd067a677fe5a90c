#pragma once

#include "ui/controls/control.h"
#include "ui/controls/geometry.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vossel {

// Where a window stands among all others, by the platform's key numbers.
enum class WindowLevel : std::int32_t { Normal = 4, Status = 9, Maximum = 14 };

// Bits of WindowState::collectionBehavior, ::styleMask and ::trackingOptions.
inline constexpr std::uint32_t canJoinAllSpaces = 1U << 0;
inline constexpr std::uint32_t fullScreenAuxiliary = 1U << 8;
inline constexpr std::uint32_t utilityWindow = 1U << 4;
inline constexpr std::uint32_t nonactivatingPanel = 1U << 7;
inline constexpr std::uint32_t fullSizeContentView = 1U << 15;
inline constexpr std::uint32_t trackEnteredAndExited = 1U << 0;
inline constexpr std::uint32_t trackMoved = 1U << 1;
inline constexpr std::uint32_t trackAlways = 1U << 7;
inline constexpr std::uint32_t trackInVisibleRect = 1U << 9;

enum class Appearance : std::uint8_t { Default, VibrantLight };
enum class EffectMaterial : std::uint8_t { Popover = 6 };
enum class EffectBlending : std::uint8_t { BehindWindow };
enum class EffectState : std::uint8_t { Active };

// A translucent view that has become the content view; the former one lies inside it.
struct ContentEffect {
    EffectMaterial material = EffectMaterial::Popover;
    EffectBlending blending = EffectBlending::BehindWindow;
    EffectState state = EffectState::Active;

    bool operator==(const ContentEffect&) const = default;
};

// A tooltip in a borderless, buffered window with a clear background, attached above its parent.
// Its text can be neither selected nor edited, draws the system's tooltip background and text
// colours, has a square bezel and no border.
struct TipWindow {
    std::string text{};
    Rect frame{}; // on the screen; the text fills it
    double textAlpha = 1;
    WindowLevel level = WindowLevel::Normal;

    bool operator==(const TipWindow&) const = default;
};

struct WindowState {
    Rect frame{};
    bool hasDelegate = false;
    std::uint32_t collectionBehavior = 0;
    std::uint32_t styleMask = 0;
    WindowLevel level = WindowLevel::Normal;
    bool hidesOnDeactivate = true;
    bool canHide = true;
    double alpha = 1;
    bool orderedFront = false;
    bool firstResponder = false;
    bool keyWindow = false;
    bool mainWindow = false;
    Appearance appearance = Appearance::Default;
    bool titleBarTransparent = false;
    std::optional<ContentEffect> contentEffect{};
    std::optional<std::uint32_t> trackingOptions{}; // of an area that covers the content view
    std::optional<TipWindow> tip{};

    bool operator==(const WindowState&) const = default;
};

class Window : public Control<WindowState> {
public:
    using Control::Control;

    // Everything that `change` does to the state is one change.
    template <class Change>
    void update(const Change& change)
    {
        const WindowState before = state();
        change(editable());
        if (!(before == state()))
            changed();
    }
};

}
