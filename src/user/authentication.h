#pragma once

namespace vossel {

class Authenticator;

// Asks the person at the machine to prove that they are an administrator. Blocks its caller, which
// may be the main thread; every failure is a no.
class Authentication {
public:
    explicit Authentication(Authenticator& authenticator)
        : authenticator_(authenticator)
    {
    }

    // By fingerprint and, where that fails for whatever reason, by password.
    [[nodiscard]] bool performAuthentication() const;
    [[nodiscard]] bool performTouchIDAuthentication() const;

private:
    Authenticator& authenticator_;
};

}
