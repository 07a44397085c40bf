#include "af_lens/motion/motor_claim.h"

#include "platform/claim.h"

static Claim motors;

bool claimMotors() {
    return takeClaim(&motors);
}

void releaseMotors() {
    giveBackClaim(&motors);
}
