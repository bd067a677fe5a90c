#include "ui/prompt/qm_borderless_panel.h"

#include "platform/alert_sound.h"
#include "prompting/permissions_manager.h"
#include "ui/prompt/synthetic_input.h"
#include "user/user_checks.h"
#include "wire/driver_messages.h"

namespace vossel {

namespace {

constexpr char carriageReturn = '\r';
constexpr char enter = '\x03';
constexpr char noCharacter = '\0';

}

// A key that the window system had queued for a prompt which has closed since must not answer the
// prompt that has followed.
void QMBorderlessPanel::keyDown(const KeyEvent& event) const
{
    if (refuses(event.source) || !state().keyWindow)
        return;
    if ((event.modifierFlags & commandKeyFlag) != 0)
        commandKeyDown(event.charactersIgnoringModifiers);
    else
        plainKeyDown(event.keyCode);
}

bool QMBorderlessPanel::refuses(const EventSource& source) const
{
    return refusesSyntheticInput(context_, source, "keypresses");
}

void QMBorderlessPanel::flagsChanged(const ModifierEvent& event) const
{
    context_.manager.setAllowButtonHighlight((event.modifierFlags & commandKeyFlag) != 0 ? 1 : 0);
}

// All commands are single bytes, so the first byte of UTF-8 tells them apart.
void QMBorderlessPanel::commandKeyDown(std::string_view characters) const
{
    switch (characters.empty() ? noCharacter : characters.front()) {
    case carriageReturn:
    case enter:
        return decide(&PermissionsManager::clickAllow);
    case '1':
    case 'O':
    case 'o':
        return context_.manager.selectSegment(DURATION_ONCE);
    case '2':
    case 'Q':
    case 'q':
        return context_.manager.selectSegment(DURATION_UNTIL_QUIT);
    case '3':
    case 'R':
    case 'r':
        return context_.manager.selectSegment(DURATION_UNTIL_RESTART);
    case '4':
    case 'F':
    case 'f':
        return selectForever();
    default:
        return context_.services.alertSound.play();
    }
}

void QMBorderlessPanel::plainKeyDown(std::uint16_t keyCode) const
{
    switch (keyCode) {
    case keyCodeLeftArrow:
        return context_.manager.incrementPopUpSelection();
    case keyCodeRightArrow:
        return context_.manager.decremenetPopUpSelection();
    case keyCodeDownArrow:
        return context_.manager.incrementProcessSelection();
    case keyCodeUpArrow:
        return context_.manager.decrementProcessSelection();
    case keyCodeEscape:
        return decide(&PermissionsManager::clickDeny);
    default:
        return context_.services.alertSound.play();
    }
}

void QMBorderlessPanel::decide(void (PermissionsManager::*click)()) const
{
    if (context_.manager.requireTouchBar())
        context_.services.alertSound.play();
    else
        (context_.manager.*click)();
}

void QMBorderlessPanel::selectForever() const
{
    if (UserChecks(context_.services.accounts, context_.directories).canCreateRules())
        context_.manager.selectSegment(DURATION_FOREVER);
}

}
