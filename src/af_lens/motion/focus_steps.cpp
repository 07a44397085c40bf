#include "af_lens/motion/focus_steps.h"

#include "af_lens/model/lens_state.h"
#include "af_ms419xx/ms419xx.h"

MS_Action_em reverseFocus(MS_Action_em fType) {
    return fType == MS_F_NEAR ? MS_F_FAR : MS_F_NEAR;
}

int focusRunRange(MS_Action_em fType, unsigned int limitN, unsigned int limitF) {
    const unsigned int focus = focusPosition();
    return static_cast<int>(fType == MS_F_NEAR ? focus - limitN : limitF - focus);
}

void clipFocusStep(MS_Action_em fType, int runRange, unsigned char *step) {
    if (*step <= runRange)
        return;
    *step = static_cast<unsigned char>(runRange);
    MS419XX_Set_PSUM_ICNT_RegofFocus(fType, *step);
}
