#include "user/authentication.h"

#include "platform/authenticator.h"

namespace vossel {

bool Authentication::performAuthentication() const
{
    return performTouchIDAuthentication() || authenticator_.obtainAdministratorRight();
}

bool Authentication::performTouchIDAuthentication() const
{
    return authenticator_.canEvaluateFingerprint()
        && authenticator_.evaluateFingerprint("verify authorization");
}

}
