#include "ui/prompt/prompt_frame.h"

#include "platform/window_system.h"
#include "prompting/permissions_manager.h"
#include "prompting/query_wait.h"
#include "settings/directories.h"
#include "settings/preferences.h"
#include "user/authentication.h"
#include "user/user_checks.h"
#include "wire/pseudo_paths.h"

#include <utility>

namespace vossel {

PromptFrame::PromptFrame(const PromptContext& context, const Rect& windowFrame)
    : window(context, WindowState{.frame = windowFrame})
    , allowButton(context, ButtonState{.title = "Allow"})
    , denyButton(context, ButtonState{.title = "Deny"})
    , touchBarLabel(TextFieldState{.stringValue = "Answer on the touch bar.", .hidden = true})
    , context_(context)
{
    observe(window);
    observe(allowButton);
    observe(denyButton);
    observe(touchBarLabel);
    observe(applicationIconImageView);
}

void PromptFrame::open(std::function<void()> tell)
{
    phase_ = Phase::Open;
    wait_ = context_.manager.shownWait();
    changes.start(std::move(tell));
}

bool PromptFrame::close()
{
    if (std::exchange(phase_, Phase::Closed) != Phase::Open)
        return false;
    changes.silence();
    closeWindow();
    return true;
}

PromptCountdown PromptFrame::countdown() const
{
    return {context_.services.clock, wait_ ? wait_->deadline() : Clock::Instant::max()};
}

PromptView PromptFrame::view() const
{
    PromptView view;
    view.icon = applicationIconImageView.image();
    view.allow = allowButton.state();
    view.deny = denyButton.state();
    view.touchBarOnly = requireTouchBar;
    if (!touchBarLabel.hidden())
        view.touchBarLabel = touchBarLabel.stringValue();
    view.tip = window.state().tip;
    view.level = window.state().level;
    return view;
}

void PromptFrame::readPreferences()
{
    requireTouchBar = false;
    authenticationDenied = false;
    requireAuthentication_ = false;
    const auto preferences = Preferences::load(context_.directories);
    if (!preferences)
        return;
    if (preferences->integer(preference::promptsOutOfBand) == 1) {
        requireTouchBar = true;
        touchBarLabel.setHidden(false);
        allowButton.setHidden(true);
        denyButton.setHidden(true);
    }
    requireAuthentication_ = preferences->integer(preference::promptsAuthenticate) == 1;
}

// The file stands for one prompt at a time: it is written anew for each, by the one who reads it.
void PromptFrame::showIcon(std::int32_t codeSignState, std::string_view program)
{
    if (codeSignState != CODE_SIGN_VALID) {
        applicationIconImageView.setImage(ImageSource::file(context_.directories.warningImage()));
        return;
    }
    const std::string file = context_.directories.programIcon();
    context_.services.windows.storeProgramIcon(std::string(program), file);
    applicationIconImageView.setImage(ImageSource::file(file));
}

void PromptFrame::resetButtons()
{
    for (Button* button : {&allowButton, &denyButton}) {
        button->setOn(false);
        button->setHighlighted(false);
    }
}

void PromptFrame::highlightAllowWhileCommandHeld() const
{
    if (context_.services.windows.commandKeyHeld())
        context_.manager.setAllowButtonHighlight(1);
}

void PromptFrame::setUpWindow()
{
    window.update([](WindowState& state) {
        state.hasDelegate = true;
        state.collectionBehavior = canJoinAllSpaces | fullScreenAuxiliary;
        state.styleMask = utilityWindow | nonactivatingPanel;
        state.level = WindowLevel::Maximum;
        state.hidesOnDeactivate = false;
        state.canHide = false;
        state.alpha = 1;
    });
    context_.services.windows.activateApplication();
    window.update([](WindowState& state) {
        state.orderedFront = true;
        state.firstResponder = true;
        state.keyWindow = true;
        state.mainWindow = true;
    });
}

void PromptFrame::setTheme()
{
    window.update([](WindowState& state) {
        state.contentEffect = ContentEffect{};
        state.styleMask |= fullSizeContentView;
        state.appearance = Appearance::VibrantLight;
    });
}

bool PromptFrame::foreverRemoved(std::string_view path) const
{
    return !UserChecks(context_.services.accounts, context_.directories).canCreateRules()
        || path.starts_with(context_.directories.sharedData());
}

void PromptFrame::setAllowButtonHighlight(std::int32_t highlight)
{
    allowButton.setHighlighted(highlight == 1);
}

void PromptFrame::resignWindow()
{
    window.update([](WindowState& state) {
        state.level = WindowLevel::Normal;
        state.hidesOnDeactivate = true;
        state.canHide = true;
        state.alpha = 1;
        state.firstResponder = false;
        state.keyWindow = false;
        state.mainWindow = false;
    });
}

void PromptFrame::closeWindow()
{
    resignWindow();
    context_.services.windows.deactivateApplication();
}

bool PromptFrame::authenticate()
{
    if (!requireAuthentication_)
        return true;
    resignWindow();
    authenticating_ = true;
    const bool proved = Authentication(context_.services.authenticator).performAuthentication();
    authenticating_ = false;
    if (!proved)
        authenticationDenied = true;
    return proved;
}

bool cutPacketCapturePath(policy_query& query)
{
    if (!isPacketCaptureDevice(textOf(query.path)))
        return false;
    storeText(query.path, packetCaptureDevices);
    return true;
}

}
