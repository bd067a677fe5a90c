#include "user/authentication.h"

#include "platform/authenticator.h"

namespace vossel {

bool Authentication::performAuthentication() const
{
    return performTouchIDAuthentication() || host_.authenticator.obtainAdministratorRight();
}

bool Authentication::performTouchIDAuthentication() const
{
    return host_.authenticator.canEvaluateFingerprint()
        && host_.authenticator.evaluateFingerprint("verify authorization");
}

}
