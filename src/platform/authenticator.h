#pragma once

#include <string_view>

namespace vossel {

// Proof that the person at the machine is an administrator. Each call
// blocks until that is known, and returns false for every failure.
class Authenticator {
public:
    virtual ~Authenticator() = default;

    [[nodiscard]] virtual bool canEvaluateFingerprint() = 0;
    // `reason` completes the system's sentence "... wants to".
    [[nodiscard]] virtual bool evaluateFingerprint(std::string_view reason) = 0;
    // The system's password dialog for the administrator's right.
    [[nodiscard]] virtual bool obtainAdministratorRight() = 0;
};

}
