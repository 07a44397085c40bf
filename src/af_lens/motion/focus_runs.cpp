#include "af_lens/motion/focus_runs.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/trace.h"

static const unsigned char kFirstStep = 16;
static const unsigned char kRampStep = 16;
static const unsigned char kRampUpTo = 47; // 48 steps have the shortest step period there is

// What ends a run early, beside its being cancelled.
enum Interrupts { kNoInterrupts, kCommandsInterrupt, kAllElseInterrupts };

static bool goesOn(Interrupts interrupts, unsigned int standing) {
    switch (interrupts) {
    case kCommandsInterrupt:
        return lensFocusInterrupt() == 0;
    case kAllElseInterrupts:
        return Lens_Get_Command() == standing && !doesOrderWait() && !isCancelled();
    default:
        return !isCancelled();
    }
}

// 16, 32, 48, 48, ... steps a period, the remainder in the last one; the counter follows each
// period. Ends early, before a period, on a command that interrupts.
static void runFocus(MS_Action_em fType, int fSteps, Interrupts interrupts, unsigned int standing) {
    unsigned char step = fSteps <= kFirstStep ? static_cast<unsigned char>(fSteps) : kFirstStep;
    int done = 0;
    MS419XX_Set_PSUM_ICNT_RegofFocus(fType, step);
    while (goesOn(interrupts, standing)) {
        MS419XX_VDF();
        Lens_Fresh_ZFLocation(fType, step);
        done += step;
        if (done >= fSteps)
            break;
        bool changed = false;
        if (step <= kRampUpTo) {
            step = static_cast<unsigned char>(step + kRampStep);
            changed = true;
        }
        if (step + done >= fSteps) {
            step = static_cast<unsigned char>(fSteps - done);
            changed = true;
        }
        if (changed)
            MS419XX_Set_PSUM_ICNT_RegofFocus(fType, step);
    }
    brakeFocus();
}

int lensMotorFocusRunSteps(MS_Action_em fType, int fSteps) {
    if (fSteps <= 0) {
        TRACE_FORMAT("Stop and fSteps:%d.\n", fSteps);
        return 0;
    }
    runFocus(fType, fSteps, kNoInterrupts, CMD_NONE);
    return 0;
}

int lensMotorFocusRun(MS_Action_em fType, int fSteps) {
    const int interrupted = lensFocusInterrupt();
    if (fSteps <= 0 || interrupted != 0) {
        TRACE_FORMAT("Stop and fSteps:%d.\n", fSteps);
        return interrupted;
    }
    runFocus(fType, fSteps, kCommandsInterrupt, CMD_NONE);
    return lensFocusInterrupt();
}

void runFocusWhile(MS_Action_em fType, int fSteps, unsigned int standing) {
    runFocus(fType, fSteps, kAllElseInterrupts, standing);
}

void lensMotorFocusHomeSet(void) {
    if (FM_Focus_Flag != 0)
        return; // the first point survives several manual commands
    FM_Focus_Flag = 1;
    FM_Focus_Start = focusPosition();
}

int lensMotorFocusHoming(void) {
    if (FM_Focus_Flag == 0)
        return 0;
    FM_Focus_Flag = 0;
    const unsigned int focus = focusPosition();
    if (focus == FM_Focus_Start)
        return 0;
    return lensMotorFocusRunSteps(focus > FM_Focus_Start ? MS_F_NEAR : MS_F_FAR,
                                  stepsBetween(focus, FM_Focus_Start));
}
