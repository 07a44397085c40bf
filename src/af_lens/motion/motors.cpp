#include "af_lens/motion/motors.h"

#include "af_ms419xx/ms419xx.h"
#include "autofocus/types.h"
#include "platform/claim.h"

static Claim motors;

bool claimMotors() {
    return takeClaim(&motors);
}

void releaseMotors() {
    giveBackClaim(&motors);
}

void brakeBothChannels() {
    MS419XX_Break_MotorAB(LED_DISABLE);
    MS419XX_Break_MotorCD(LED_DISABLE);
    MS419XX_VDFZ();
}

void brakeFocus() {
    MS419XX_Break_MotorCD(LED_DISABLE);
    MS419XX_VDF();
}
