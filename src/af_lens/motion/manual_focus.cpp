// Focus by hand: two steps a 10 ms period for as long as the command stays in the mailbox, ending
// exactly on the limit. The next zoom or autofocus run returns to where the first one began.
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/focus_runs.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/mailbox.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"

unsigned int lensMotorFocusCtrl(AF_CMD_em emCmd) {
    unsigned char step = Step_Level_Uit >> 1;
    unsigned char programmed = step;
    const MS_Action_em fType = emCmd == CMD_FAR ? MS_F_FAR : MS_F_NEAR;
    int blocked = Lens_Check_AllowanceForSteps(MS_NONE, nullptr, fType, &step);
    if (BIT(blocked, kFocusBlocked) == 0 && step != 0) { // 0 before start-up
        lensMotorFocusHomeSet();
        MS419XX_Set_PSUM_ICNT_RegofFocus(fType, step);
        while (lensMotorInterrupt(emCmd) == 0) {
            MS419XX_VDF();
            Lens_Fresh_ZFLocation(fType, step);
            blocked = Lens_Check_AllowanceForSteps(MS_NONE, nullptr, fType, &step);
            if (BIT(blocked, kFocusBlocked) != 0)
                break;
            if (step != programmed) {
                programmed = step;
                MS419XX_Set_PSUM_ICNT_RegofFocus(fType, step);
            }
        }
        brakeFocus();
        Lens_Save_ZFLocation();
    }
    return leaveFollowUp(CMD_FSTOP);
}
