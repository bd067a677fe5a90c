#pragma once

#include "app/user_interface.h"
#include "foundation/result.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vossel {

// One of the ways to ask the user, before it is taken. Main thread.
class FrontEnd {
public:
    // Runs the agent with this interface until it ends; returns the exit status.
    using Serve = std::function<int(const UserInterface::Factory&)>;

    virtual ~FrontEnd() = default;

    // What the user calls it.
    [[nodiscard]] virtual std::string_view name() const = 0;
    // Why nobody can be asked this way; nothing where somebody can. `named`: the user asked for
    // this one, which is then taken also where it would not offer itself.
    [[nodiscard]] virtual std::optional<std::string> whyNot(bool named) = 0;
    // Comes after a whyNot() that said nothing. Makes what the interface needs, an application of a
    // window system for one, and calls `serve`, whose status it returns.
    [[nodiscard]] virtual int run(int argc, char** argv, const Serve& serve) = 0;
};

// The front end of that name; without a name the first of them that can be used. Fails with what
// each one lacks.
[[nodiscard]] Result<FrontEnd*> chooseFrontEnd(
    std::string_view name, std::span<FrontEnd* const> frontEnds);

}
