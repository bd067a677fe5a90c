#include "app/about_window_controller.h"

#include "app/window_presenter.h"
#include "app/window_theme.h"
#include "foundation/files.h"
#include "foundation/text_format.h"
#include "foundation/utf8.h"
#include "platform/window_system.h"
#include "settings/directories.h"

#include <cstddef>
#include <utility>

namespace vossel {

namespace {

constexpr Rect windowFrame{0, 0, 320, 200};
constexpr std::size_t maxBuildLength = 256; // bytes; nobody could read more in this window

// "unknown" where the file is missing, unreadable, no UTF-8, or too long to be a build number.
std::string buildFrom(const std::string& file)
{
    const auto content = readFile(file, maxBuildLength);
    if (!content || !isValidUtf8(*content))
        return "unknown";
    std::string build = *content;
    std::erase(build, '\n');
    return build;
}

}

AboutWindowController::AboutWindowController(const WindowContext& context, std::string version)
    : window(WindowState{.frame = windowFrame})
    , versionTextField(TextFieldState{.truncation = Truncation::Tail})
    , context_(context)
    , version_(std::move(version))
{
}

void AboutWindowController::open()
{
    if (phase_ != Phase::New)
        return;
    windowDidLoad();
    phase_ = Phase::Open;
    context_.presenter.aboutOpened(*this);
}

void AboutWindowController::close()
{
    if (phase_ != Phase::Open)
        return;
    phase_ = Phase::Closed;
    window.update([](WindowState& state) { state.orderedFront = false; });
    context_.presenter.aboutClosed(*this);
}

void AboutWindowController::windowDidLoad()
{
    versionTextField.setStringValue(
        formatText("Version %@ (%@)", {version_, buildFrom(context_.directories.buildNumber())}));
    setTheme();
    context_.windows.activateApplication();
    window.update([](WindowState& state) { state.orderedFront = true; });
}

void AboutWindowController::setTheme()
{
    applyWindowTheme(window);
}

}
