#include "af_lens/motor_claim.h"

#include "platform/shared_word.h"

static int motorsClaimed = 0;

bool claimMotors() {
    return exchangeWord(&motorsClaimed, 0, 1);
}

void releaseMotors() {
    storeWord(&motorsClaimed, 0);
}
