#pragma once

#include "platform/host.h"

namespace vossel {

// Asks the person at the machine to prove that they are an administrator. Blocks its caller, which
// may be the main thread; every failure is a no.
class Authentication {
public:
    explicit Authentication(const Host& host)
        : host_(host)
    {
    }

    // By fingerprint and, where that fails for whatever reason, by password.
    [[nodiscard]] bool performAuthentication() const;
    [[nodiscard]] bool performTouchIDAuthentication() const;

private:
    const Host& host_;
};

}
