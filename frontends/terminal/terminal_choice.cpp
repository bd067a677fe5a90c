#include "frontends/terminal/terminal_choice.h"

#include "foundation/log.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace vossel {

namespace {

// Nobody has so many kinds of terminals, but a program may call its own anything.
constexpr std::size_t maxKinds = 16;

bool namesUtf8(std::string_view locale)
{
    return locale.find("UTF-8") != std::string_view::npos
        || locale.find("utf8") != std::string_view::npos
        || locale.find("utf-8") != std::string_view::npos
        || locale.find("UTF8") != std::string_view::npos;
}

// The first of these that is set says in what characters a terminal is written to.
template <class Lookup>
Charset charsetBy(const Lookup& variable)
{
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const std::optional<std::string> value = variable(name);
        if (value && !value->empty())
            return namesUtf8(*value) ? Charset::Utf8 : Charset::Ascii;
    }
    return Charset::Ascii;
}

std::optional<std::string> ownVariable(const char* name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing in this program sets one.
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// A process with a controlling terminal cannot read it from the background. A session's leader
// keeps it: letting go would take it from the whole session.
void letGoOf(const TerminalDevice& terminal)
{
    if (::getsid(0) != ::getpid())
        (void)::ioctl(terminal.descriptor(), TIOCNOTTY);
}

}

Result<TerminalChoice> TerminalChoice::open(const std::string& path)
{
    auto device = TerminalDevice::open(path);
    if (!device)
        return Failure{"there is no terminal to ask on: " + device.reason()};
    auto capabilities = TerminalCapabilities::load(ownVariable("TERM").value_or(""));
    if (!capabilities)
        return Failure{capabilities.reason()};
    letGoOf(*device);
    return TerminalChoice({std::make_shared<TerminalDevice>(std::move(*device)),
        std::make_shared<const TerminalCapabilities>(std::move(*capabilities)),
        charsetBy(ownVariable), false});
}

std::optional<TerminalChoice::Place> TerminalChoice::placeFor(std::int32_t pid)
{
    forgetVanished();
    const auto terminal = terminals_.of(pid);
    std::optional<Place> place;
    if (terminal && terminal->foregroundGroup == terminal->processGroup)
        place = programsTerminal(*terminal, pid);
    const std::int32_t session = place ? terminal->session : ::getsid(0);
    if (!place && isOwnInForeground())
        place = own_;
    if (place)
        place->shared = terminals_.foregroundOf(place->device->number(), session)
            && terminals_.hasOthers(session, {pid, ::getpid()});
    return place;
}

bool TerminalChoice::isStillFree(const Place& place, std::int32_t pid) const
{
    const auto terminal = terminals_.of(pid);
    if (terminal && terminal->device == place.device->number()
        && terminal->foregroundGroup == terminal->processGroup)
        return true;
    return own_ && own_->device == place.device && isOwnInForeground();
}

bool TerminalChoice::isOwnInForeground() const
{
    if (!own_)
        return false;
    // A process that gave up its terminal cannot ask for the foreground there; the session's leader
    // still can.
    const auto foreground = terminals_.foregroundOf(own_->device->number(), ::getsid(0));
    return !foreground || *foreground == ::getpgrp();
}

void TerminalChoice::forgetVanished()
{
    if (!own_ || !own_->device->vanished())
        return;
    own_.reset();
    logText("the terminal has gone; the agent goes on without it");
}

std::optional<TerminalChoice::Place> TerminalChoice::programsTerminal(
    const ControllingTerminal& terminal, std::int32_t pid)
{
    if (own_ && terminal.device == own_->device->number())
        return own_;
    if (ownOnly_)
        return std::nullopt;
    auto device = TerminalDevice::open(terminal.path);
    // By its number, for the name could be another's by now; by its owner, for whoever sits at
    // somebody else's terminal must not answer for this user.
    if (!device || device->number() != terminal.device || device->owner() != ::getuid())
        return std::nullopt;
    // The shell knows its terminal better than a program that may have been told anything.
    const auto variable = [&](const char* name) {
        auto value = terminals_.environmentOf(terminal.session, name);
        return value ? value : terminals_.environmentOf(pid, name);
    };
    auto capabilities = capabilitiesOf(variable("TERM").value_or(""));
    if (!capabilities)
        return std::nullopt;
    return Place{std::make_shared<TerminalDevice>(std::move(*device)), std::move(capabilities),
        charsetBy(variable), false};
}

std::shared_ptr<const TerminalCapabilities> TerminalChoice::capabilitiesOf(const std::string& type)
{
    const auto known = known_.find(type);
    if (known != known_.end())
        return known->second;
    auto loaded = TerminalCapabilities::load(type);
    std::shared_ptr<const TerminalCapabilities> capabilities;
    if (loaded)
        capabilities = std::make_shared<const TerminalCapabilities>(std::move(*loaded));
    else
        logText("a program's terminal is not used: %@", loaded.reason());
    if (known_.size() == maxKinds)
        known_.clear();
    known_.emplace(type, capabilities);
    return capabilities;
}

}
